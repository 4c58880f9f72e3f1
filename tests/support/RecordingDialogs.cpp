#include "support/RecordingDialogs.h"

namespace velmaris::testing {

namespace {

class RecordingPresenter : public DialogPresenter {
 public:
  explicit RecordingPresenter(std::vector<ShownDialog>* shown) : mShown(shown) {}
  bool Present(const MessageDialog& dialog, QWidget* /*window*/) override {
    ShownDialog record{dialog.Message, dialog.Explanation, dialog.Icon, {}};
    if (dialog.ActionButton->Visible) record.visibleButtons.push_back(dialog.ActionButton->Caption);
    if (dialog.CancelButton->Visible) record.visibleButtons.push_back(dialog.CancelButton->Caption);
    mShown->push_back(record);
    return true;
  }

 private:
  std::vector<ShownDialog>* mShown;
};

}  // namespace

RecordingDialogs::RecordingDialogs() : mScope(std::make_unique<RecordingPresenter>(&mShown)) {}

}  // namespace velmaris::testing
