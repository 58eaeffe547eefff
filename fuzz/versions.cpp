// Two versions of releases, each on a line of its own.
#include "target.h"

#include "update/productversion.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    using namespace talo;
    const std::string_view text = fuzz::textOf(data, size);
    const std::size_t end = text.find('\n');
    if (end == std::string_view::npos)
        return 0;
    const std::string_view left = text.substr(0, end);
    const std::string_view right = text.substr(end + 1);
    const auto order = update::compareVersions(left, right);
    const auto reverse = update::compareVersions(right, left);
    fuzz::require(order.has_value() == reverse.has_value());
    const auto sign = [](int value) { return (value > 0) - (value < 0); };
    fuzz::require(!order || sign(*order) == -sign(*reverse));
    return 0;
}
