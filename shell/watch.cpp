#include <watch.hpp>

#include <FileWatch.hpp>
#include <onOneLine.hpp>
#include <pictures.hpp>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <map>
#include <set>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

namespace Shell {

namespace {

using Eye = Mirk::GLRenderContext::Eye;
using Names = std::vector<std::string>;

std::atomic<bool> isToEnd{false};
static_assert(std::atomic<bool>::is_always_lock_free);

extern "C" void end(int) {
    isToEnd = true;
}

/// SIGINT and SIGTERM set isToEnd; a second one of the same kind ends the process as always. One
/// that whoever has started the process wants to be ignored stays so.
class EndBySignal {
public:
    EndBySignal() {
        struct sigaction action = {};
        action.sa_handler = end;
        action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
        for (std::size_t i = 0; i < signals.size(); ++i) {
            ::sigaction(signals[i], &action, &_before[i]);
            if (_before[i].sa_handler == SIG_IGN) ::sigaction(signals[i], &_before[i], nullptr);
        }
    }
    EndBySignal(const EndBySignal&) = delete;
    EndBySignal& operator=(const EndBySignal&) = delete;
    ~EndBySignal() {
        for (std::size_t i = 0; i < signals.size(); ++i) {
            ::sigaction(signals[i], &_before[i], nullptr);
        }
    }

private:
    static constexpr std::array<int, 2> signals{SIGINT, SIGTERM};

    std::array<struct sigaction, 2> _before{};
};

void tellUser(const std::string& text) {
    std::fprintf(stderr, "polypia: %s\n", text.c_str());
}

/// At once, as others may wait for it.
void tell(const std::string& text) {
    std::fputs(text.c_str(), stdout);
    if (std::fflush(stdout) == 0) return;
    throw std::runtime_error("cannot write to standard output: " +
                             std::generic_category().message(errno));
}

std::string listOf(const Names& names) {
    std::string list;
    for (const std::string& name : names) list += (list.empty() ? "" : ", ") + onOneLine(name);
    return list;
}

/// What becomes of faulty objects, in words.
class Faults {
public:
    explicit Faults(const Studio& studio) : _studio(studio) {}

    /// Of the last frame.
    void tell() {
        // Objects of one kind have the same shaders, and so the same faults.
        std::map<std::string, Names> asBefore, notAtAll;
        for (const auto& failure : _studio.frame().failures) {
            const bool goesOn = _studio.isDrawnAsBefore(failure.object);
            (goesOn ? asBefore : notAtAll)[wordsOf(failure)].push_back(failure.object);
        }
        for (const auto& [words, names] : asBefore) {
            tellUser("still drawing " + listOf(names) + " as before: " + words);
        }
        for (const auto& [words, names] : notAtAll) {
            tellUser("cannot draw " + listOf(names) + ": " + words);
        }
        const Names mended = takeMended();
        if (!mended.empty()) {
            tellUser("drawing " + listOf(mended) + " anew: the shaders are good again");
        }
    }

private:
    /// Those whose report has gone.
    Names takeMended() {
        Names mended;
        for (const Scene::Object& object : _studio.scene().objects()) {
            const Mirk::DisplayObject& display = *object.display;
            if (!display.renderStatusSlot().value(_studio.viewer().pool).text.empty()) {
                _faulty.insert(&display);
            } else if (_faulty.erase(&display) > 0) {
                mended.push_back(display.Name());
            }
        }
        return mended;
    }

    const Studio& _studio;
    std::set<const Mirk::DisplayObject*> _faulty;
};

/// Of a file that several objects have the earliest time, as each of them is to be drawn with what
/// it holds.
FileWatch::Times shaderTimes(const Scene& scene) {
    FileWatch::Times times;
    for (const Scene::Object& object : scene.objects()) {
        for (const auto& [file, time] : object.display->shaderFiles()) {
            const auto [known, isNew] = times.try_emplace(file, time);
            if (!isNew) known->second = std::min(known->second, time);
        }
    }
    return times;
}

class Watch {
public:
    Watch(Studio& studio, const RenderOptions& options, const std::vector<Eye>& eyes,
          const PictureFiles& files)
        : _studio(studio), _options(options), _eyes(eyes), _files(files), _faults(studio) {}

    void run() {
        do {
            follow();
            _saved.begin(shaderTimes(_studio.scene()));
        } while (isSaved());
    }

private:
    /// Waits; false if that is the end.
    bool isSaved() {
        while (!isToEnd) {
            if (_saved.areSaved()) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        return false;
    }

    /// Draws and writes what is new.
    void follow() {
        const bool isFaulty = !_studio.attempt(_eyes).failures.empty();
        _faults.tell();
        if (!_studio.isWhole()) return;
        _studio.clock().begin("read back");
        std::vector<Pixels> pictures = picturesOf(_studio, _options);
        if (isFaulty && pictures == _written) return;
        write(std::move(pictures));
    }

    void write(std::vector<Pixels>&& pictures) {
        _studio.clock().begin("encode");
        writePictures(_files, pictures, _options);
        _studio.clock().end();
        for (const std::string& path : _files.paths()) tell("wrote " + onOneLine(path) + "\n");
        if (_options.verbose && _written.empty()) tell(_studio.story());
        _written = std::move(pictures);
    }

    Studio& _studio;
    const RenderOptions& _options;
    const std::vector<Eye>& _eyes;
    const PictureFiles& _files;
    Faults _faults;
    FileWatch _saved;
    std::vector<Pixels> _written; // the last ones
};

} // namespace

void watch(Studio& studio, const RenderOptions& options, const std::vector<Eye>& eyes,
           const PictureFiles& files) {
    const EndBySignal signals;
    Watch(studio, options, eyes, files).run();
}

} // namespace Shell
