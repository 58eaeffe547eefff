#include "store/schedule.h"

#include <memory>
#include <unicase.h>
#include <unictype.h>
#include <uninorm.h>
#include <unistr.h>

namespace talo::store
{

namespace
{

constexpr std::size_t kLeast = 4;
constexpr std::size_t kMost = 8;

const std::uint8_t *bytesOf(std::string_view text)
{
    return reinterpret_cast<const std::uint8_t *>(text.data());
}

bool isLetterOrDigit(ucs4_t character)
{
    // Some letters are blank, and two names could look the same.
    return (uc_is_general_category(character, UC_LETTER) ||
            uc_is_general_category(character, UC_DECIMAL_DIGIT_NUMBER)) &&
           !uc_is_property_default_ignorable_code_point(character);
}

bool isMark(ucs4_t character)
{
    return (uc_is_general_category(character, UC_NON_SPACING_MARK) ||
            uc_is_general_category(character, UC_COMBINING_SPACING_MARK)) &&
           !uc_is_property_default_ignorable_code_point(character);
}

bool within(int value, int least, int most)
{
    return value >= least && value <= most;
}

} // namespace

ScheduleCode fitnessOfName(std::string_view name)
{
    std::size_t length = 0;
    while (!name.empty()) {
        ucs4_t character = 0;
        const int bytes = u8_mbtoucr(&character, bytesOf(name), name.size());
        if (bytes <= 0)
            return ScheduleCode::BadCharacter;
        if (!isLetterOrDigit(character) && (length == 0 || !isMark(character)))
            return ScheduleCode::BadCharacter;
        name.remove_prefix(static_cast<std::size_t>(bytes));
        ++length;
    }
    return length >= kLeast && length <= kMost ? ScheduleCode::Done : ScheduleCode::BadLength;
}

std::optional<std::string> keyOfName(std::string_view name)
{
    if (u8_check(bytesOf(name), name.size()) != nullptr)
        return std::nullopt;
    std::size_t length = 0;
    const std::unique_ptr<std::uint8_t, void (*)(void *)> folded(
        u8_casefold(bytesOf(name), name.size(), nullptr, UNINORM_NFC, nullptr, &length), free);
    if (!folded)
        return std::nullopt;
    return std::string(reinterpret_cast<const char *>(folded.get()), length);
}

bool inRange(const ScheduleValues &values)
{
    const bool type = values.type == static_cast<int>(ScheduledScan::Full) ||
                      values.type == static_cast<int>(ScheduledScan::Quick);
    const bool day = values.frequency == static_cast<int>(Frequency::Daily)
                         ? values.weekday == kEveryDay
                         : values.frequency == static_cast<int>(Frequency::Weekly) &&
                               within(values.weekday, 0, 6);
    return type && day && within(values.hour, 0, 23) && within(values.minute, 0, 59);
}

} // namespace talo::store
