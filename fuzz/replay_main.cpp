// Without libFuzzer, a target replays the files and directories named on its command line,
// so every seed corpus also runs as an ordinary test under the sanitizers.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace fs = std::filesystem;

static bool Replay(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    return true;
}

int main(int argc, char** argv) {
    unsigned replayed = 0;
    for (int i = 1; i < argc; i++) {
        fs::path arg(argv[i]);
        std::vector<fs::path> inputs;
        if (fs::is_directory(arg)) {
            for (const auto& entry : fs::directory_iterator(arg))
                if (entry.is_regular_file()) inputs.push_back(entry.path());
        } else {
            inputs.push_back(arg);
        }
        for (const fs::path& input : inputs) {
            if (!Replay(input)) {
                fprintf(stderr, "replay: cannot read %s\n", input.c_str());
                return 1;
            }
            replayed++;
        }
    }
    printf("replayed %u inputs\n", replayed);
    return replayed > 0 ? 0 : 1;
}
