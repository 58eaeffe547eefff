#include "engine/libpassword.h"

#include "client/boundary.h"
#include "client/bus.h"
#include "interface/names.h"

#include <QDBusReply>

#include <cstring>
#include <vector>

namespace
{

using namespace talo;

constexpr int kNo = 1;
constexpr int kRefused = 3;

// Passwords on their way to the service: the copies that the caller left here, and those for the
// message, are wiped when the call is over.
class Passwords
{
public:
    explicit Passwords(std::vector<std::string *> texts) : texts_(std::move(texts))
    {
        for (const std::string *text : texts_)
            bytes_.emplace_back(text->data(), static_cast<int>(text->size()));
    }
    ~Passwords()
    {
        for (std::string *text : texts_)
            explicit_bzero(text->data(), text->size());
        // In place: data() would take a copy apart from the one in the message.
        for (const QByteArray &bytes : bytes_)
            explicit_bzero(const_cast<char *>(bytes.constData()),
                           static_cast<std::size_t>(bytes.size()));
    }
    Passwords(const Passwords &) = delete;
    Passwords &operator=(const Passwords &) = delete;

    QVariantList arguments() const
    {
        QVariantList list;
        for (const QByteArray &bytes : bytes_)
            list.append(bytes);
        return list;
    }

private:
    std::vector<std::string *> texts_;
    std::vector<QByteArray> bytes_;
};

bool answersYes(const char *method)
{
    const QDBusReply<bool> answer = client::Bus::instance().call(interface::kPassword, method);
    return answer.isValid() && answer.value();
}

// Hashing takes its time, wrong passwords are slowed down, and an administrator may be asked.
QDBusMessage ask(const char *method, const QVariantList &arguments)
{
    return client::Bus::instance().callPatiently(interface::kPassword, "Exists", method, arguments);
}

int codeOf(const QDBusMessage &message)
{
    const QDBusReply<int> answer = message;
    return answer.isValid() ? answer.value() : kRefused;
}

} // namespace

int libPassword::IsPasswordExists()
{
    return client::guarded(kNo, [] { return answersYes("Exists") ? 0 : kNo; });
}

int libPassword::getPwdProtectionStaus()
{
    return client::guarded(0, [] { return answersYes("Protection") ? 1 : 0; });
}

int libPassword::modifyPwdProtectionStatus(int on)
{
    if (on != 0 && on != 1)
        return kNo;
    return client::guarded(kNo, [on] {
        const QDBusMessage answer = ask("SetProtection", {on == 1});
        return answer.type() == QDBusMessage::ReplyMessage ? 0 : kNo;
    });
}

int libPassword::ValidatePassword(std::string password)
{
    return client::guarded(kNo, [&password] {
        const Passwords passwords({&password});
        const QDBusReply<bool> answer = ask("Validate", passwords.arguments());
        return answer.isValid() && answer.value() ? 0 : kNo;
    });
}

int libPassword::createpass(std::string password, std::string confirmation,
                            [[maybe_unused]] int reserved)
{
    return client::guarded(kRefused, [&password, &confirmation] {
        const Passwords passwords({&password, &confirmation});
        return codeOf(ask("Create", passwords.arguments()));
    });
}

int libPassword::modifyPassword(std::string current, std::string password, std::string confirmation)
{
    return client::guarded(kRefused, [&current, &password, &confirmation] {
        const Passwords passwords({&current, &password, &confirmation});
        return codeOf(ask("Change", passwords.arguments()));
    });
}
