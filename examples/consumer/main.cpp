// Writes a small picture with the installed libraries: `consumer FILE`.
#include <Writers/PngWriter.hpp>
#include <Writers/WriteError.hpp>
#include <keel/export.hpp>

#include <cstdint>
#include <cstdio>
#include <vector>

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::fprintf(stderr, "usage: consumer FILE\n");
        return 2;
    }
    const std::vector<std::uint8_t> pixels(64 * 64 * 3, 128);
    try {
        Mirk::PngWriter(arguments[1])
            .write({pixels.data(), 64, 64, Mirk::PngWriter::PixelFormat::rgb,
                    Mirk::PngWriter::RowOrder::topFirst});
    } catch (const Mirk::WriteError& error) {
        // Caught by its type across the border of the library.
        std::fprintf(stderr, "consumer: %s\n", error.what());
        return 1;
    }
}
