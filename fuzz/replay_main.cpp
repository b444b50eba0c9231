/**
 * Runs a fuzz target once on every file of the folders and files that are named: the seeds and the
 * inputs that once failed stay tested without a fuzzer.
 */
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

static int RunFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> content{std::istreambuf_iterator<char>(file), {}};
    // A fuzzer's input ends at its last byte: reading behind it must be seen, so no spare capacity.
    const std::vector<uint8_t> input(content.begin(), content.end());
    LLVMFuzzerTestOneInput(input.data(), input.size());
    return 1;
}

static int RunAll(const std::filesystem::path& path) {
    if (!std::filesystem::is_directory(path)) {
        return RunFile(path);
    }
    int count = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
        count += entry.is_regular_file() ? RunFile(entry.path()) : 0;
    }
    return count;
}

int main(int argc, char** argv) {
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        count += RunAll(argv[i]);
    }
    std::printf("%d inputs\n", count);
    return count > 0 ? 0 : 1;
}
