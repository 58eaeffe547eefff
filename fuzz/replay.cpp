// Gives every file of the named folders to a fuzz target: what was found once is not to come back.
#include "target.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int *argc, char ***argv);

int main(int argc, char *argv[])
{
    if (LLVMFuzzerInitialize != nullptr)
        LLVMFuzzerInitialize(&argc, &argv);
    int inputs = 0;
    for (int folder = 1; folder < argc; ++folder) {
        if (!std::filesystem::exists(argv[folder]))
            continue;
        for (const auto &entry : std::filesystem::directory_iterator(argv[folder])) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::vector<char> content((std::istreambuf_iterator<char>(file)),
                                            std::istreambuf_iterator<char>());
            std::printf("%s\n", entry.path().c_str());
            std::fflush(stdout);
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(content.data()),
                                   content.size());
            ++inputs;
        }
    }
    if (inputs == 0) {
        std::fputs("there was nothing to replay\n", stderr);
        return 1;
    }
    return 0;
}
