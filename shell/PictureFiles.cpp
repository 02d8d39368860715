#include <PictureFiles.hpp>

#include <Writers/WriteError.hpp>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <list>
#include <string_view>
#include <system_error>
#include <utility>

namespace Shell {

namespace {

namespace fs = std::filesystem;
using Picture = Mirk::PngWriter::Picture;

/// A new folder that goes with its object.
class FolderAside {
public:
    /// In the same folder as a file, so that what is in it can be renamed to the file. Throws
    /// Mirk::WriteError.
    explicit FolderAside(const fs::path& file) {
        std::string name = (file.parent_path() / ".polypia-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw Mirk::WriteError("cannot write " + file.string() + ": " +
                                   std::generic_category().message(errno));
        }
        _path = name;
    }
    FolderAside(const FolderAside&) = delete;
    FolderAside& operator=(const FolderAside&) = delete;
    ~FolderAside() {
        std::error_code ignored;
        fs::remove_all(_path, ignored);
    }

    fs::path operator/(const char* name) const { return _path / name; }

private:
    fs::path _path;
};

/// Where a file lies for which there may be symbolic links; they are to stay.
fs::path targetOf(const std::string& path) {
    std::error_code none;
    const fs::path real = fs::canonical(path, none);
    return none ? fs::path(path) : real;
}

/// A picture that takes the place of a file, and gives it back unless it is kept.
class Replacement {
public:
    /// Writes it aside.
    Replacement(std::string path, const Picture& picture)
        : _path(std::move(path)), _target(targetOf(_path)), _aside(_target) {
        const std::string part = (_aside / "new").string();
        try {
            Mirk::PngWriter(part).write(picture);
        } catch (const Mirk::WriteError& error) {
            // The user knows the file by its own name.
            std::string text = error.what();
            const std::size_t place = text.find(part);
            if (place != std::string::npos) text.replace(place, part.size(), _path);
            throw Mirk::WriteError(text);
        }
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;
    ~Replacement() {
        std::error_code ignored;
        if (_state == State::inPlace) fs::remove(_target, ignored);
        if (_hasOld && _state != State::kept) fs::rename(_aside / "old", _target, ignored);
    }

    void putInPlace() {
        std::error_code error;
        if (fs::is_regular_file(_target, error)) keepOld();
        fs::rename(_aside / "new", _target, error);
        if (error) fail(error);
        _state = State::inPlace;
    }
    void keep() { _state = State::kept; }

private:
    enum class State { aside, inPlace, kept };

    [[noreturn]] void fail(const std::error_code& error) const {
        throw Mirk::WriteError("cannot write " + _path + ": " + error.message());
    }
    /// By a second name or, where there is no such thing, by another one.
    void keepOld() {
        std::error_code error;
        fs::permissions(_aside / "new", fs::status(_target, error).permissions(), error);
        fs::create_hard_link(_target, _aside / "old", error);
        if (error) fs::rename(_target, _aside / "old", error);
        if (error) fail(error);
        _hasOld = true;
    }

    const std::string _path;
    const fs::path _target;
    const FolderAside _aside;
    State _state = State::aside;
    bool _hasOld = false;
};

} // namespace

std::vector<std::string> namesForEyes(const std::string& path) {
    const fs::path whole(path);
    std::vector<std::string> names;
    for (const std::string_view eye : {"-left", "-right"}) {
        fs::path name = whole.stem();
        name += eye;
        name += whole.extension();
        names.push_back((whole.parent_path() / name).string());
    }
    return names;
}

PictureFiles::PictureFiles(std::vector<std::string> paths) : _paths(std::move(paths)) {
    for (const std::string& path : _paths) Mirk::PngWriter{path};
}

void PictureFiles::write(const std::vector<Picture>& pictures) const {
    if (_paths.size() == 1) {
        Mirk::PngWriter(_paths[0]).write(pictures.at(0));
        return;
    }
    std::list<Replacement> replacements;
    for (std::size_t i = 0; i < _paths.size(); ++i) {
        replacements.emplace_back(_paths[i], pictures.at(i));
    }
    for (Replacement& each : replacements) each.putInPlace();
    for (Replacement& each : replacements) each.keep();
}

} // namespace Shell
