// Runs the files of the directories given through the target once, without a fuzzer.
#include "fuzz/input.hpp"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

int main(int count, char ** arguments) {
    int files = 0;
    for (int i = 1; i < count; ++i) {
        if (!std::filesystem::is_directory(arguments[i])) {
            continue;
        }
        for (const auto & entry : std::filesystem::directory_iterator(arguments[i])) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
            std::fprintf(stderr, "%s\n", entry.path().c_str());
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()),
                                   bytes.size());
            ++files;
        }
    }
    std::printf("%d inputs\n", files);
    return files != 0 ? 0 : 1;
}
