#include "engine/service/passwordbench.h"

#include "engine/service/quickpassword.h"
#include "interface/names.h"
#include "interface/types.h"
#include "support/soon.h"

#include <QDBusReply>
#include <QTest>

using namespace talo::interface;

void PasswordBench::initTestCase()
{
    registerTypes();
}

void PasswordBench::init()
{
    folder_ = std::make_unique<QTemporaryDir>();
    QVERIFY(folder_->isValid());
    bus_ = std::make_unique<PrivateBus>();
    QVERIFY(!bus_->address().isEmpty());
    caller_ = bus_->connect("caller");
    stranger_ = bus_->connect("stranger");
    QVERIFY(caller_.isConnected() && stranger_.isConnected());
    start();
}

void PasswordBench::cleanup()
{
    service_.reset();
    bus_.reset();
    folder_.reset();
}

void PasswordBench::stop()
{
    service_.reset();
    QTRY_VERIFY_WITH_TIMEOUT(!bus_->owned(), kSoon);
}

void PasswordBench::start()
{
    stop();
    service_ = startService(*bus_, folder_->filePath("state"));
    QVERIFY(service_ != nullptr);
}

void PasswordBench::seed()
{
    stop();
    QVERIFY(storeQuickly(folder_->filePath("state"), "secret"));
    start();
}

QDBusMessage PasswordBench::call(const char *method, const QVariantList &arguments)
{
    return ask(caller_, kPassword, method, arguments);
}

int PasswordBench::code(const char *method, const QVariantList &arguments)
{
    const QDBusReply<int> reply = call(method, arguments);
    return reply.isValid() ? reply.value() : -1;
}

bool PasswordBench::flag(const char *method, const QVariantList &arguments)
{
    return QDBusReply<bool>(call(method, arguments)).value();
}

bool PasswordBench::validate(const QDBusConnection &caller, const QByteArray &password)
{
    return QDBusReply<bool>(ask(caller, kPassword, "Validate", {password})).value();
}
