// A module from outside: it knows no more of the library than what is installed.

#include <Readers/ReaderError.hpp>
#include <Readers/ReaderModule.hpp>

namespace {

/// Reads "STRANGE", a blank and a digit: that many points.
class StrangeReader : public Mirk::Reader {
public:
    std::string name() const override { return "strange points"; }
    std::vector<std::string> extensions() const override { return {"strange"}; }
    Mirk::Recognition recognises(const Mirk::InputFile& file) const override {
        return file.head().starts_with("STRANGE") ? Mirk::Recognition::Content
                                                  : Mirk::Recognition::None;
    }
    Mirk::Dataset read(const Mirk::InputFile& file, const Mirk::ReadOptions&) const override {
        if (!file.head().starts_with("STRANGE ") || file.size() < 9)
            throw Mirk::ReaderError(file.path(), "byte 0", "expected 'STRANGE' and a digit");
        const auto count = static_cast<std::size_t>(file.content()[8] - '0');
        return Mirk::PointSet{Mirk::makeChunk(std::vector<Mirk::Point>(count)), {}, {}};
    }
};

void registerReaders(Mirk::ReaderRegistry& registry) {
    registry.add(std::make_unique<StrangeReader>());
}

} // namespace

POLYPIA_READER_MODULE(registerReaders)
