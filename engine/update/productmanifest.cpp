#include "update/productmanifest.h"

#include "update/productversion.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <sodium.h>
#include <utility>

namespace talo::update
{

namespace
{

using nlohmann::json;

constexpr std::uint64_t kFormat = 1;
constexpr std::size_t kLongestText = 16384;

// Takes the one shape that a manifest has: an object of texts and natural numbers, nothing nested
// and nothing twice. Everything else ends the parsing, so that no depth is ever reached.
class FlatObject : public nlohmann::json_sax<json>
{
public:
    std::map<std::string, std::string> texts;
    std::map<std::string, std::uint64_t> numbers;

    bool start_object(std::size_t) override { return !std::exchange(opened_, true); }
    bool end_object() override { return true; }
    bool key(string_t &name) override
    {
        name_ = name;
        return texts.count(name) == 0 && numbers.count(name) == 0;
    }
    bool string(string_t &value) override
    {
        return opened_ && value.size() <= kLongestText && texts.emplace(name_, value).second;
    }
    bool number_unsigned(number_unsigned_t value) override
    {
        return opened_ && numbers.emplace(name_, value).second;
    }

    bool null() override { return false; }
    bool boolean(bool) override { return false; }
    bool number_integer(number_integer_t) override { return false; }
    bool number_float(number_float_t, const string_t &) override { return false; }
    bool binary(binary_t &) override { return false; }
    bool start_array(std::size_t) override { return false; }
    bool end_array() override { return false; }
    bool parse_error(std::size_t, const std::string &, const nlohmann::detail::exception &) override
    {
        return false;
    }

private:
    bool opened_ = false;
    std::string name_;
};

bool hasExactly(const FlatObject &object)
{
    const auto named = [](const auto &members, std::initializer_list<const char *> names) {
        return members.size() == names.size() &&
               std::all_of(names.begin(), names.end(),
                           [&](const char *name) { return members.count(name) == 1; });
    };
    return named(object.texts,
                 {"product", "version", "date", "notes", "architecture", "package", "sha256"}) &&
           named(object.numbers, {"format", "size"});
}

bool isDay(const std::string &text)
{
    constexpr std::string_view kForm = "dddd-dd-dd";
    return text.size() == kForm.size() &&
           std::equal(text.begin(), text.end(), kForm.begin(), [](char letter, char form) {
               return form == 'd' ? letter >= '0' && letter <= '9' : letter == form;
           });
}

bool readHash(const std::string &digits, std::array<unsigned char, 32> &hash)
{
    std::size_t length = 0;
    return digits.size() == 2 * hash.size() &&
           sodium_hex2bin(hash.data(), hash.size(), digits.data(), digits.size(), nullptr, &length,
                          nullptr) == 0 &&
           length == hash.size();
}

files::Error refusal(const std::string &why)
{
    return {0, "the release's description is refused: " + why};
}

bool isSigned(std::string_view manifest, std::string_view signature, const ReleaseKey &key)
{
    const auto bytes = [](std::string_view text) {
        return reinterpret_cast<const unsigned char *>(text.data());
    };
    return signature.size() == kSignatureSize && sodium_init() >= 0 &&
           crypto_sign_verify_detached(bytes(signature), bytes(manifest), manifest.size(),
                                       key.data()) == 0;
}

} // namespace

const char *thisArchitecture()
{
#if defined(__x86_64__) && !defined(__ILP32__)
    return "amd64";
#elif defined(__aarch64__)
    return "arm64";
#elif defined(__i386__)
    return "i386";
#elif defined(__arm__)
    return "armhf";
#elif defined(__riscv)
    return "riscv64";
#else
#error "name this architecture as Debian does"
#endif
}

files::Result<Release> readManifest(std::string_view manifest, std::string_view signature,
                                    const ReleaseKey &key)
{
    if (manifest.size() > kLargestManifest)
        return refusal("it is too large");
    if (!isSigned(manifest, signature, key))
        return refusal("its signature is not right");
    FlatObject object;
    if (!json::sax_parse(manifest.begin(), manifest.end(), &object) || !hasExactly(object))
        return refusal("it is not of the known form");
    if (object.numbers["format"] != kFormat || object.texts["product"] != "taloantivirus")
        return refusal("it is for another program");

    Release release;
    release.version = object.texts["version"];
    release.date = object.texts["date"];
    release.notes = object.texts["notes"];
    release.architecture = object.texts["architecture"];
    release.package = object.texts["package"];
    release.size = object.numbers["size"];
    if (!compareVersions(release.version, release.version))
        return refusal("its version is none");
    if (!isDay(release.date))
        return refusal("its date is none");
    if (release.size == 0 || release.size > kLargestPackage)
        return refusal("its package is empty or too large");
    if (!readHash(object.texts["sha256"], release.sha256))
        return refusal("its package's SHA-256 is none");
    if (release.architecture != thisArchitecture())
        return refusal("it is for the architecture \"" + release.architecture + "\", and this is " +
                       thisArchitecture());
    return release;
}

} // namespace talo::update
