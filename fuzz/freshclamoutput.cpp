// What freshclam prints, in pieces as a pipe gives them: the first byte says how large.
#include "target.h"

#include "update/freshclamoutput.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    using namespace talo;
    if (size == 0)
        return 0;
    const std::string_view text = fuzz::textOf(data + 1, size - 1);
    const std::size_t piece = std::size_t{*data} + 1;
    update::FreshclamOutput output;
    for (std::size_t at = 0; at < text.size(); at += piece)
        output.feed(text.substr(at, piece));
    const std::string complaint = output.complaint();
    fuzz::require(complaint.size() <= 1000);
    fuzz::require(std::none_of(complaint.begin(), complaint.end(), [](char letter) {
        return static_cast<unsigned char>(letter) < ' ' || letter == 0x7F;
    }));
    fuzz::require(output.total() == 0 || output.done() <= output.total());
    return 0;
}
