#include "engine/service/quickpassword.h"

#include "store/database.h"
#include "store/statement.h"

#include <array>
#include <cstring>
#include <sodium.h>

bool storeQuickly(const QString &state, const char *password)
{
    std::array<char, crypto_pwhash_STRBYTES> hash{};
    if (sodium_init() < 0 ||
        crypto_pwhash_str(hash.data(), password, std::strlen(password), crypto_pwhash_OPSLIMIT_MIN,
                          crypto_pwhash_MEMLIMIT_MIN) != 0)
        return false;
    std::string failure;
    const auto database = talo::store::Database::open(state.toStdString(), failure);
    if (!database)
        return false;
    talo::store::Statement update(*database, "UPDATE password SET hash = ?");
    return update.bind(std::string(hash.data())).run();
}
