<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr" sourcelanguage="en">
<context>
    <name></name>
    <message id="Strings.kLabelTelechargement0">
        <source>Initialization...</source>
        <translation>Initialisation...</translation>
    </message>
    <message id="Strings.kLabelTelechargement1">
        <source>Download </source>
        <translation>Téléchargement de </translation>
    </message>
    <message id="Strings.kLabelTelechargement2">
        <source> in progress...</source>
        <translation> en cours...</translation>
    </message>
    <message id="Strings.kLabelTelechargement3">
        <source>Update installation in progress...</source>
        <translation>Installation de la mise à jour en cours...</translation>
    </message>
    <message id="Strings.kLabelRestaurationDB">
        <source>Restore of the database backup in progress…</source>
        <translation>Restauration de la sauvegarde de la base en cours…</translation>
    </message>
    <message id="Strings.kTitreFenetreRestaurerDB">
        <source>Restore database...</source>
        <translation>Restauration de la base...</translation>
    </message>
    <message id="Strings.kMsgBoxErreurMAJ0">
        <source>The launch of VelmarisMAJ must be initiated by Velmaris!</source>
        <translation>Le lancement de VelmarisMAJ doit être initié par Velmaris&#xa0;!</translation>
    </message>
    <message id="Strings.kMsgBoxErreurMAJ1">
        <source>Errors encountered in installing the update !</source>
        <translation>Des erreurs sont survenues pendant l’installation de la mise à jour&#xa0;!</translation>
    </message>
    <message id="Strings.kMsgBoxErreurMAJ2">
        <source>Errors encountered in downloading the update !</source>
        <translation>Des erreurs sont survenues pendant le téléchargement de la mise à jour&#xa0;!</translation>
    </message>
    <message id="Strings.kMsgBoxErreurRestauration">
        <source>Errors encountered in restoring database backup !</source>
        <translation>Des erreurs sont survenues pendant la restauration de la sauvegarde de la base&#xa0;!</translation>
    </message>
    <message id="Strings.kMsgBoxVelmarisDispo">
        <source>Velmaris application has not been updated.</source>
        <translation>L’application Velmaris n’a pas été mise à jour.</translation>
    </message>
    <message id="Strings.kMsgBoxTelechargerSite">
        <source>A «&#xa0;fresh&#xa0;» installation is required.</source>
        <translation>Une installation «&#xa0;propre&#xa0;» est nécessaire.</translation>
    </message>
    <message id="Strings.kLabelReprise">
        <source>Connection lost, resuming...</source>
        <translation>Connexion perdue, reprise…</translation>
    </message>
    <message id="Strings.kTitreFenetreTelechargement">
        <source>Velmaris Update</source>
        <translation>Mise à jour de Velmaris</translation>
    </message>
    <message id="Strings.kUniteKo">
        <source> KB</source>
        <translation>&#xa0;Ko</translation>
    </message>
    <message id="Strings.kUniteMo">
        <source> MB</source>
        <translation>&#xa0;Mo</translation>
    </message>
    <message id="Strings.kSeparateurDecimal">
        <source>.</source>
        <translation>,</translation>
    </message>
</context>
</TS>
