// The settings password and the flag that says whether it guards the settings.
//
// Passwords are UTF-8 and have 6 to 15 characters (code points). Checking one takes about half a
// second by design, and wrong ones are slowed down per user. Any thread.
#pragma once

#include "engine/export.h"

#include <string>

class TALO_ENGINE_EXPORT libPassword
{
public:
    // Returns 0 when a password is stored, 1 when none is or the service is not reached.
    static int IsPasswordExists();

    // Returns 1 when protection is on, otherwise 0.
    static int getPwdProtectionStaus();

    // Switches protection on (1) or off (0). Returns 0, any other value for refused.
    static int modifyPwdProtectionStatus(int on);

    // Returns 0 when the text is the stored password; this process is trusted with protected
    // changes from then on. Any other value: it is not, or there is none.
    static int ValidatePassword(std::string password);

    // Stores the first password. `reserved` is 0. Returns 0; 1 the two differ; 2 the length is not
    // allowed; 3 one exists already, or refused.
    static int createpass(std::string password, std::string confirmation, int reserved);

    // Replaces the password. Returns 0; 3 the current one is wrong (checked first); 1 the two new
    // ones differ; 2 the new one's length is not allowed.
    static int modifyPassword(std::string current, std::string password, std::string confirmation);
};
