#include "pages/shownupdate.h"

#include "pages/sigupdatethread.h"
#include "support/scriptedengine.h"
#include "support/widgets.h"

namespace talo::test
{

void ShownUpdate::init()
{
    ScriptedEngine::instance().reset();
    window_ = std::make_unique<SignatureUpdate>(nullptr);
    window_->show();
}

void ShownUpdate::report(long long total, long long remaining, float percentage, int speed,
                         int status)
{
    app_obj_ptr = window_.get();
    engineCallBack(total, remaining, percentage, speed, status);
}

QLabel *ShownUpdate::figure(const QString &caption) const
{
    const QList<QLabel *> labels =
        window_->findChild<QWidget *>("sigupdatebottom")->findChildren<QLabel *>();
    for (int index = 0; index + 1 < labels.size(); ++index) {
        if (labels[index]->text() == caption) {
            return labels[index + 1];
        }
    }
    return nullptr;
}

bool ShownUpdate::finished() const
{
    return finishPanel()->isVisible() && !progressPanel()->isVisible() &&
           button(window_.get(), "FINISH")->isVisible() &&
           button(window_.get(), "STOP")->isHidden() &&
           button(window_.get(), "CANCEL")->isHidden() && bar()->isHidden();
}

} // namespace talo::test
