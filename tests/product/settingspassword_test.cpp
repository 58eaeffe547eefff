// The settings password of the installed product, used by a person: it guards the settings page,
// also after a restart of the service.
//
// Needs root, for a /usr/local of its own; the product then runs as an ordinary user.

#include "product/desktop.h"
#include "product/freshservice.h"
#include "product/installation.h"
#include "product/settingspage.h"

#include <QApplication>
#include <QtTest>

#include <memory>

using namespace talo::test;

namespace
{

bool prompts()
{
    const QWidget *dialog = QApplication::activeModalWidget();
    return dialog && dialog->objectName() == "dlgManagePwd";
}

void answerPrompt(const Desktop &desktop, const QString &password)
{
    desktop.type("Password", password);
    desktop.clickText("APPLY");
}

} // namespace

class ProductPasswordTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { service_ = std::make_unique<FreshService>(); }
    void init() { service_->begin(); }
    void cleanupTestCase() { service_.reset(); }

    void guardsSettingsByPassword();

private:
    std::unique_ptr<FreshService> service_;
};

void ProductPasswordTest::guardsSettingsByPassword()
{
    const auto page = [] { return shows("btnScanArchive"); };
    SUCCEEDS(play([&](const Desktop &desktop) {
        openSettings(desktop);
        desktop.clickText("Manage Password");
        desktop.screenshot("settings-password-none");
        desktop.click("btnPwdConfig");
        expect(desktop.answerMessage(), "Please create password first.");
        expect(shown(desktop).filter("btnPwdConfig"), QStringList{"btnPwdConfig off"});
        desktop.clickText("CREATE");
        desktop.type("New", "first!");
        desktop.type("Confirm", "other!");
        desktop.screenshot("settings-password-create");
        desktop.clickText("OK");
        desktop.screenshot("settings-password-mismatch");
        expect(desktop.answerMessage(), "Password does not match.");
        desktop.type("New", "short");
        desktop.type("Confirm", "short");
        desktop.clickText("OK");
        expect(desktop.answerMessage(), "Password length should be in between 6 to 15 characters.");
        desktop.type("New", "first!");
        desktop.type("Confirm", "first!");
        desktop.clickText("OK");
        expect(desktop.answerMessage(), "Password has been successfully created.");
        awaitClosed(desktop);

        desktop.clickText("Manage Password");
        desktop.screenshot("settings-password-off");
        desktop.click("btnPwdConfig");
        desktop.type("Password", "wrong!");
        desktop.screenshot("settings-password-prompt");
        desktop.clickText("APPLY");
        expect(desktop.answerMessage(), "Password does not match.");
        answerPrompt(desktop, "first!");
        awaitClosed(desktop);

        desktop.clickText("Manage Password");
        expect(shown(desktop).filter("btnPwdConfig"), QStringList{"btnPwdConfig on"});
        desktop.screenshot("settings-password-on");
        desktop.clickText("RESET");
        desktop.screenshot("settings-password-reset");
        desktop.answerMessage(QMessageBox::No);
        awaitClosed(desktop);
    }));
    service_->restart();
    SUCCEEDS(play([&](const Desktop &desktop) {
        desktop.click("btnSettings");
        desktop.await("the prompt", prompts);
        desktop.screenshot("settings-gate");
        answerPrompt(desktop, "wrong!");
        expect(desktop.answerMessage(), "Password does not match.");
        desktop.await("the prompt again", prompts);
        expect(desktop.see<bool>(page) ? "open" : "shut", "shut");
        answerPrompt(desktop, "first!");
        desktop.await("the page", page);
        // Whoever gave it may change settings.
        desktop.click("btnScanArchive");
        apply(desktop);

        desktop.clickText("Manage Password");
        desktop.clickText("CHANGE");
        desktop.type("Current", "wrong!");
        desktop.type("New", "second");
        desktop.type("Confirm", "second");
        desktop.screenshot("settings-password-change");
        desktop.clickText("OK");
        expect(desktop.answerMessage(), "Old password does not match.");
        desktop.type("Current", "first!");
        desktop.clickText("OK");
        expect(desktop.answerMessage(), "Password updated successfully.");
        desktop.press("Escape");
        awaitClosed(desktop);
    }));
    service_->restart();
    SUCCEEDS(play([&](const Desktop &desktop) {
        desktop.click("btnSettings");
        answerPrompt(desktop, "first!");
        expect(desktop.answerMessage(), "Password does not match.");
        answerPrompt(desktop, "second");
        desktop.await("the page", page);
        expect(shown(desktop), {"btnScanArchive off", "btnScanPacked on"});
        desktop.clickText("Manage Password");
        desktop.click("btnPwdConfig");
        desktop.press("Escape");
        awaitClosed(desktop);
    }));
    service_->restart();
    SUCCEEDS(play([&](const Desktop &desktop) {
        desktop.click("btnSettings");
        desktop.await("the page", page);
    }));
}

int main(int argc, char **argv)
{
    return testInstalled(argc, argv, TALO_BUILD_FOLDER,
                         [] { return std::make_unique<ProductPasswordTest>(); });
}

#include "settingspassword_test.moc"
