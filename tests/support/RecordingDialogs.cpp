#include "support/RecordingDialogs.h"

namespace velmaris::testing {

class RecordingDialogs::Presenter : public DialogPresenter {
 public:
  explicit Presenter(RecordingDialogs* owner) : mOwner(owner) {}
  bool Present(const MessageDialog& dialog, QWidget* /*window*/) override {
    ShownDialog record{dialog.Message, dialog.Explanation, dialog.Icon, {}};
    if (dialog.ActionButton->Visible) record.visibleButtons.push_back(dialog.ActionButton->Caption);
    if (dialog.CancelButton->Visible) record.visibleButtons.push_back(dialog.CancelButton->Caption);
    mOwner->mShown.push_back(record);
    if (mOwner->OnShow) mOwner->OnShow(record);
    return true;
  }

 private:
  RecordingDialogs* mOwner;
};

RecordingDialogs::RecordingDialogs() : mScope(std::make_unique<Presenter>(this)) {}

}  // namespace velmaris::testing
