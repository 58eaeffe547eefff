// No password can be stored yet: none exists, none is right, and protection is off.
#include "engine/libpassword.h"

int libPassword::IsPasswordExists()
{
    constexpr int kNone = 1;
    return kNone;
}

int libPassword::getPwdProtectionStaus()
{
    return 0;
}

int libPassword::modifyPwdProtectionStatus([[maybe_unused]] int on)
{
    constexpr int kRefused = 1;
    return kRefused;
}

int libPassword::ValidatePassword([[maybe_unused]] std::string password)
{
    constexpr int kThereIsNone = 1;
    return kThereIsNone;
}

int libPassword::createpass([[maybe_unused]] std::string password,
                            [[maybe_unused]] std::string confirmation,
                            [[maybe_unused]] int reserved)
{
    constexpr int kRefused = 3;
    return kRefused;
}

int libPassword::modifyPassword([[maybe_unused]] std::string current,
                                [[maybe_unused]] std::string password,
                                [[maybe_unused]] std::string confirmation)
{
    constexpr int kCurrentIsWrong = 3;
    return kCurrentIsWrong;
}
