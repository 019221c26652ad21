// A main for the fuzz targets where libFuzzer is not at hand (the arm64
// build run under emulation): feeds the target every seed file named on the
// command line, then pseudo-random inputs of every length up to 300 made of
// the bytes the targets care about (UTF-8 lead and continuation bytes, 0,
// the XML specials and reference names), several per length. The targets
// abort on a finding, so the exit status is the verdict.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
    for (int a = 1; a < argc; ++a) {
        std::ifstream file(argv[a], std::ios::binary);
        const std::string seed((std::istreambuf_iterator<char>(file)), {});
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(seed.data()), seed.size());
    }
    static const std::string kPieces[] = {
        "a", "b", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\x80", "\xBF", "\xC3",
        "\xE2\x82", std::string(1, '\0'), "\xFF", "&", "&amp;", "&lt;", "&gt;", "&quot;",
        "&apos;", "&#", "&#13;", ";", "<", ">", "\"", "'", "\r", "\n", "\x7F", "\xE9"};
    const int perLength = argc > 1 ? 20 : 60;
    std::mt19937 random(7);
    std::size_t inputs = 0;
    for (std::size_t length = 0; length <= 300; ++length) {
        for (int r = 0; r < perLength; ++r) {
            std::string input;
            const std::size_t pieces = random() % std::size(kPieces) + 1; // how varied
            while (input.size() < length) {
                if (random() % 8 == 0) {
                    input += static_cast<char>(random());
                } else {
                    input += kPieces[random() % pieces];
                }
            }
            input.resize(length);
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()),
                                   input.size());
            ++inputs;
        }
    }
    std::printf("%zu inputs, no finding\n", inputs);
    return 0;
}
