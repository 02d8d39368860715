#include <Writers/PngWriter.hpp>
#include <Writers/WriteError.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <png.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using Mirk::PngWriter;
using Mirk::WriteError;
using testing::ElementsAre;
using testing::IsEmpty;
using Format = PngWriter::PixelFormat;
using Order = PngWriter::RowOrder;
namespace fs = std::filesystem;

namespace {

using Bytes = std::vector<std::uint8_t>;

struct Decoded {
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t channels = 0;
    Bytes pixels; // top row first
};

// Reads with libpng, whose warnings count as failures.
Decoded decode(const fs::path& path) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, path.c_str())) {
        ADD_FAILURE() << path << ": " << image.message;
        return {};
    }
    const bool hasAlpha = (image.format & PNG_FORMAT_FLAG_ALPHA) != 0;
    image.format = hasAlpha ? PNG_FORMAT_RGBA : PNG_FORMAT_RGB;
    Decoded decoded{image.width, image.height, hasAlpha ? 4u : 3u, Bytes(PNG_IMAGE_SIZE(image))};
    const bool complete =
        png_image_finish_read(&image, nullptr, decoded.pixels.data(), 0, nullptr) != 0;
    EXPECT_TRUE(complete && image.warning_or_error == 0) << path << ": " << image.message;
    return decoded;
}

Bytes fileBytes(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(stream), {});
}

Bytes noise(std::size_t size) {
    std::mt19937 generator(42);
    Bytes bytes(size);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(generator());
    return bytes;
}

// Long runs, as in a picture of lines on a plain ground.
Bytes flat(std::size_t size) {
    Bytes bytes(size, 30);
    for (std::size_t i = 0; i < size; i += 997) bytes[i] = 200;
    return bytes;
}

// What a reader must see: rows from the top, without the bytes that are to be ignored.
Bytes expectedPixels(const PngWriter::Picture& picture) {
    const std::size_t inMemory = picture.format == Format::rgb ? 3 : 4;
    const std::size_t inFile = picture.format == Format::rgba ? 4 : 3;
    Bytes expected;
    for (std::size_t y = 0; y < picture.heightPixels; ++y) {
        const auto row = picture.order == Order::topFirst ? y : picture.heightPixels - 1 - y;
        for (std::size_t x = 0; x < picture.widthPixels; ++x) {
            const auto* pixel = picture.pixels + (row * picture.widthPixels + x) * inMemory;
            expected.insert(expected.end(), pixel, pixel + inFile);
        }
    }
    return expected;
}

class PngWriterTest : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "PngWriterXXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder = pattern;
    }

    void TearDown() override { fs::remove_all(folder); }

    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(folder))
            found.push_back(entry.path().filename().string());
        return found;
    }

    static std::string messageOf(const std::function<void()>& action) {
        try {
            action();
        } catch (const WriteError& error) {
            return error.what();
        }
        return "(no WriteError)";
    }

    // Root may write everywhere, so it turns into nobody for a while.
    std::string messageAsUser(const std::function<void()>& action) const {
        const uid_t user = geteuid(), nobody = 65534;
        if (user != 0) return messageOf(action);
        for (const auto& entry : fs::directory_iterator(folder))
            EXPECT_EQ(chown(entry.path().c_str(), nobody, nobody), 0);
        EXPECT_EQ(chown(folder.c_str(), nobody, nobody), 0);
        EXPECT_EQ(seteuid(nobody), 0);
        const auto message = messageOf(action);
        EXPECT_EQ(seteuid(user), 0);
        return message;
    }

    fs::path folder;
    const Bytes pixels = noise(3 * 5 * 4);
    const PngWriter::Picture picture{pixels.data(), 5, 3, Format::rgba, Order::topFirst};
};

} // namespace

struct Size {
    std::string name;
    std::size_t width;
    std::size_t height;
};

using RoundTrip = std::tuple<Size, Format, Order>;

class PngWriterRoundTripTest : public PngWriterTest,
                               public testing::WithParamInterface<RoundTrip> {};

static std::string roundTripName(const testing::TestParamInfo<RoundTrip>& info) {
    const auto& [size, format, order] = info.param;
    const char* formats[] = {"Rgb", "Rgba", "Rgbx"};
    return size.name + formats[static_cast<int>(format)] +
           (order == Order::topFirst ? "TopFirst" : "BottomFirst");
}

TEST_P(PngWriterRoundTripTest, ReadersSeeEveryByte) {
    const auto& [size, format, order] = GetParam();
    const std::size_t channels = format == Format::rgb ? 3 : 4;
    const auto path = folder / "picture.png";
    for (const auto& content :
         {noise(size.width * size.height * channels), flat(size.width * size.height * channels)}) {
        const PngWriter::Picture sent{content.data(), size.width, size.height, format, order};
        PngWriter(path).write(sent);

        const Decoded decoded = decode(path);
        EXPECT_EQ(decoded.width, size.width);
        EXPECT_EQ(decoded.height, size.height);
        EXPECT_EQ(decoded.channels, format == Format::rgba ? 4 : 3);
        // Not EXPECT_EQ, which would print megabytes.
        EXPECT_TRUE(decoded.pixels == expectedPixels(sent));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, PngWriterRoundTripTest,
    testing::Combine(testing::Values(Size{"OnePixel", 1, 1}, Size{"OneRow", 7, 1},
                                     Size{"OneColumn", 1, 7}, Size{"Odd", 13, 5},
                                     Size{"SeveralStrips", 1001, 903},
                                     Size{"RowLongerThanAStrip", 400'000, 3}),
                     testing::Values(Format::rgb, Format::rgba, Format::rgbx),
                     testing::Values(Order::topFirst, Order::bottomFirst)),
    roundTripName);

TEST_F(PngWriterTest, ConstructorMakesNoFile) {
    PngWriter writer(folder / "picture.png");
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(PngWriterTest, LeavesNothingBesideThePicture) {
    PngWriter(folder / "picture.png").write(picture);
    EXPECT_THAT(names(), ElementsAre("picture.png"));
}

TEST_F(PngWriterTest, SamePictureGivesSameBytes) {
    const Bytes large = noise(1001 * 903 * 3);
    const PngWriter::Picture sent{large.data(), 1001, 903, Format::rgb, Order::topFirst};
    PngWriter(folder / "a.png").write(sent);
    PngWriter(folder / "b.png").write(sent);
    EXPECT_TRUE(fileBytes(folder / "a.png") == fileBytes(folder / "b.png"));
}

TEST_F(PngWriterTest, ReplacesAnOlderFile) {
    std::ofstream(folder / "picture.png")
        << "an older and much longer file" << std::string(9999, 'x');
    PngWriter(folder / "picture.png").write(picture);
    EXPECT_EQ(decode(folder / "picture.png").pixels, pixels);
}

TEST_F(PngWriterTest, ReplacesTheFileBehindASymbolicLink) {
    fs::create_directory(folder / "elsewhere");
    std::ofstream(folder / "elsewhere/picture.png") << "old";
    fs::create_symlink("elsewhere/picture.png", folder / "link.png");
    PngWriter(folder / "link.png").write(picture);
    EXPECT_TRUE(fs::is_symlink(folder / "link.png"));
    EXPECT_EQ(decode(folder / "elsewhere/picture.png").pixels, pixels);
}

TEST_F(PngWriterTest, FileHasThePermissionsOfTheProcess) {
    const auto old = umask(027);
    PngWriter(folder / "picture.png").write(picture);
    umask(old);
    EXPECT_EQ(fs::status(folder / "picture.png").permissions(), static_cast<fs::perms>(0640));
}

TEST_F(PngWriterTest, TakesARelativePathAndTheLongestName) {
    const auto start = fs::current_path();
    fs::current_path(folder);
    const std::string name = std::string(251, 'n') + ".png";
    PngWriter(name).write(picture);
    fs::current_path(start);
    EXPECT_EQ(decode(folder / name).pixels, pixels);
}

TEST_F(PngWriterTest, TwoThreadsMayWriteOnePath) {
    const PngWriter writer(folder / "picture.png");
    std::thread other([&] {
        for (int i = 0; i < 20; ++i) writer.write(picture);
    });
    for (int i = 0; i < 20; ++i) writer.write(picture);
    other.join();
    EXPECT_EQ(decode(folder / "picture.png").pixels, pixels);
    EXPECT_THAT(names(), ElementsAre("picture.png"));
}

TEST_F(PngWriterTest, NamesAMissingFolder) {
    const std::string path = folder / "missing/picture.png";
    EXPECT_EQ(messageOf([&] { PngWriter{path}; }),
              "cannot write " + path + ": No such file or directory");
}

TEST_F(PngWriterTest, NamesAFileInThePlaceOfTheFolder) {
    std::ofstream(folder / "file") << "x";
    const std::string path = folder / "file/picture.png";
    EXPECT_EQ(messageOf([&] { PngWriter{path}; }), "cannot write " + path + ": Not a directory");
}

TEST_F(PngWriterTest, RefusesAFolderAsTarget) {
    EXPECT_EQ(messageOf([&] { PngWriter{folder}; }),
              "cannot write " + folder.string() + ": Is a directory");
    EXPECT_TRUE(fs::is_directory(folder));
}

TEST_F(PngWriterTest, RefusesAnEmptyName) {
    EXPECT_EQ(messageOf([&] { PngWriter(""); }), "cannot write : The name is empty");
}

TEST_F(PngWriterTest, RefusesADevice) {
    EXPECT_EQ(messageOf([&] { PngWriter("/dev/full"); }),
              "cannot write /dev/full: Not a regular file");
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

TEST_F(PngWriterTest, RefusesAPipeBehindALink) {
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    fs::create_symlink("pipe", folder / "link.png");
    const std::string path = folder / "link.png";
    EXPECT_EQ(messageOf([&] { PngWriter{path}; }), "cannot write " + path + ": Not a regular file");
    EXPECT_TRUE(fs::is_fifo(folder / "pipe"));
}

TEST_F(PngWriterTest, NamesAFolderThatTakesNoFiles) {
    // The reason differs from kernel to kernel.
    EXPECT_THAT(messageOf([&] { PngWriter("/proc/self/picture.png").write(picture); }),
                testing::StartsWith("cannot write /proc/self/picture.png: "));
}

TEST_F(PngWriterTest, RefusesADeviceThatHasTakenThePlaceSince) {
    const std::string path = folder / "picture.png";
    const PngWriter writer(path);
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(messageOf([&] { writer.write(picture); }),
              "cannot write " + path + ": Not a regular file");
    EXPECT_TRUE(fs::is_fifo(path));
}

TEST_F(PngWriterTest, LeavesAProtectedFileAlone) {
    const std::string path = folder / "picture.png";
    std::ofstream(path) << "old";
    fs::permissions(path, fs::perms::owner_read);
    const auto message = messageAsUser([&] { PngWriter{path}; });
    EXPECT_EQ(message, "cannot write " + path + ": Permission denied");
    EXPECT_EQ(fileBytes(path), Bytes({'o', 'l', 'd'}));
}

TEST_F(PngWriterTest, NamesAProtectedFolder) {
    const std::string path = folder / "picture.png";
    fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec);
    const auto message = messageAsUser([&] { PngWriter{path}; });
    fs::permissions(folder, fs::perms::owner_all);
    EXPECT_EQ(message, "cannot write " + path + ": Permission denied");
}

TEST_F(PngWriterTest, KeepsTheOldFileWhenSpaceRunsOut) {
    const std::string path = folder / "picture.png";
    std::ofstream(path) << "old";
    const Bytes large = noise(300 * 300 * 3);
    const PngWriter writer(path);

    // A limit on the size of files stands for a full disk, which needs root to be set up.
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{100'000, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const auto message = messageOf([&] {
        writer.write({large.data(), 300, 300, Format::rgb, Order::topFirst});
    });
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);

    EXPECT_EQ(message, "cannot write " + path + ": File too large");
    EXPECT_EQ(fileBytes(path), Bytes({'o', 'l', 'd'}));
    EXPECT_THAT(names(), ElementsAre("picture.png"));
}

TEST_F(PngWriterTest, NamesAFolderThatIsGoneByNow) {
    const PngWriter writer(folder / "picture.png");
    fs::remove(folder);
    EXPECT_THAT(messageOf([&] { writer.write(picture); }),
                testing::EndsWith("picture.png: No such file or directory"));
    EXPECT_FALSE(fs::exists(folder));
}

TEST_F(PngWriterTest, RefusesAnEmptyPicture) {
    const std::string path = folder / "picture.png";
    const PngWriter writer(path);
    EXPECT_EQ(messageOf([&] {
                  writer.write({nullptr, 0, 5, Format::rgb, Order::topFirst});
              }),
              "cannot write " + path +
                  ": expected a width and a height of 1 to 268435456 pixels, got 0 x 5");
    EXPECT_NE(messageOf([&] {
                  writer.write({nullptr, 5, 0, Format::rgb, Order::topFirst});
              }),
              "(no WriteError)");
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(PngWriterTest, RefusesAWidthBeyondTheLimit) {
    const PngWriter writer(folder / "picture.png");
    const auto tooWide = PngWriter::maximumSizePixels + 1;
    EXPECT_THAT(messageOf([&] {
                    writer.write({nullptr, tooWide, 1, Format::rgba, Order::topFirst});
                }),
                testing::EndsWith("got 268435457 x 1"));
    EXPECT_THAT(names(), IsEmpty());
}
