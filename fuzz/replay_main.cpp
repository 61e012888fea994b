// Runs saved inputs through a fuzz entry: replay FILE-OR-FOLDER...
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size);

namespace
{

void replay(const std::filesystem::path &file)
{
    std::ifstream in(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
}

} // namespace

int main(int argc, char **argv)
{
    int inputs = 0;
    for (int i = 1; i < argc; i++) {
        if (!std::filesystem::is_directory(argv[i])) {
            replay(argv[i]);
            inputs++;
            continue;
        }
        for (const auto &entry : std::filesystem::directory_iterator(argv[i])) {
            replay(entry.path());
            inputs++;
        }
    }
    std::printf("%d inputs replayed\n", inputs);
    return inputs > 0 ? 0 : 1;
}
