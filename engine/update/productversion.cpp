#include "update/productversion.h"

#include <array>

namespace talo::update
{

namespace
{

using Numbers = std::array<int, 4>;
constexpr std::size_t kMostDigits = 6;

std::optional<int> number(std::string_view digits)
{
    if (digits.empty() || digits.size() > kMostDigits)
        return std::nullopt;
    int value = 0;
    for (const char digit : digits) {
        if (digit < '0' || digit > '9')
            return std::nullopt;
        value = value * 10 + (digit - '0');
    }
    return value;
}

std::optional<Numbers> parse(std::string_view text)
{
    Numbers numbers{};
    for (int &place : numbers) {
        const std::size_t dot = text.find('.');
        const auto value = number(text.substr(0, dot));
        if (!value)
            return std::nullopt;
        place = *value;
        if (dot == std::string_view::npos)
            return numbers;
        text.remove_prefix(dot + 1);
    }
    return std::nullopt; // there is a fifth
}

} // namespace

std::optional<int> compareVersions(std::string_view left, std::string_view right)
{
    const auto first = parse(left);
    const auto second = parse(right);
    if (!first || !second)
        return std::nullopt;
    if (*first == *second)
        return 0;
    return *first < *second ? -1 : 1;
}

} // namespace talo::update
