#include <watch.hpp>

#include <Faults.hpp>
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
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

namespace Shell {

namespace {

using Eye = Mirk::GLRenderContext::Eye;

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

/// Tells what is faulty in the last frame, and what is so no more.
void tellFaults(Faults& faults, const Studio& studio) {
    std::vector<Faults::Fault> failed;
    for (const auto& failure : studio.frame().failures) {
        failed.push_back({failure.object, wordsOf(failure), !failure.shaderLog.empty(),
                          studio.isDrawnAsBefore(failure.object)});
    }
    std::vector<Faults::State> states;
    for (const Scene::Object& object : studio.scene().objects()) {
        const Mirk::DisplayObject& display = *object.display;
        const auto status = display.renderStatusSlot().value(studio.viewer().pool);
        states.push_back({display.Name(), !status.text.empty()});
    }
    for (const std::string& message : faults.follow(failed, states)) tellUser(message);
}

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
        : _studio(studio), _options(options), _eyes(eyes), _files(files) {}

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
        tellFaults(_faults, _studio);
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
