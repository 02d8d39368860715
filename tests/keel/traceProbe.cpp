// Uses profiler scopes in the way that its argument names; the tests read the trace.

#include <keel/Profiler.hpp>

#include "countedNew.hpp"

#include <chrono>
#include <cstdlib>
#include <functional>
#include <future>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

using Keel::Profiler;

namespace {

constexpr int UnknownWay = 2, Different = 3; // exit codes

struct StaticWithScope {
    bool isUsed = false;
    ~StaticWithScope() {
        if (isUsed) const Profiler scope("f.cpp", 1, "static destructor", "", 0, "probe");
    }
} staticWithScope;

int nested() {
    const Profiler outer("dir/f.cpp", 12, "void outer()", "an object", 5, "Polypia");
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    {
        const std::string file = "g.cpp", function = "void inner()", object = "o", domain = "GL";
        const Profiler inner(file, -3, function, object, -1, domain);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return 0;
}

int badTexts() {
    std::string controls;
    for (char c = 0; c < ' '; ++c) controls += c;
    const Profiler a("\"quotes\" \\back\\", 1, "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x90\x9F", controls, 0,
                     "\x7F");
    // A stray byte, a cut sequence, a surrogate, an overlong slash, a number beyond Unicode.
    const Profiler b("a\xFFz", 1, "a\xE2\x82", "a\xED\xA0\x80z", 0, "\xC0\xAF\xF4\x90\x80\x80");
    return 0;
}

int threads() {
    std::vector<std::thread> all;
    for (int i = 0; i < 4; ++i) {
        all.emplace_back([i] {
            ::pthread_setname_np(::pthread_self(), ("worker " + std::to_string(i)).c_str());
            // More than a buffer holds, so that it is emptied into the file on the way.
            for (int n = 0; n < 1000; ++n)
                const Profiler scope("f.cpp", n, "work", "o", 0, "probe");
        });
    }
    for (std::thread& thread : all) thread.join();
    return 0;
}

int threadsInTurn() {
    for (int i = 0; i < 3; ++i) {
        std::thread([] { const Profiler scope("f.cpp", 1, "work", "o", 0, "probe"); }).join();
    }
    return 0;
}

int aliveAtExit() {
    std::promise<void> started;
    std::thread([&started] {
        { const Profiler scope("f.cpp", 1, "closed", "o", 0, "probe"); }
        const Profiler scope("f.cpp", 1, "open", "o", 0, "probe");
        started.set_value();
        while (true) {
            const Profiler busy("f.cpp", 1, "busy", "o", 0, "probe");
        }
    }).detach();
    started.get_future().wait();
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return 0;
}

int forkedChild() {
    { const Profiler scope("f.cpp", 1, "parent", "o", 0, "probe"); }
    const pid_t child = ::fork();
    if (child == 0) std::exit(0);
    ::waitpid(child, nullptr, 0);
    return 0;
}

int countAllocations() {
    const std::string object(100, 'o');
    const long long before = allocationsOfThisThread();
    for (int i = 0; i < 100; ++i) {
        const Profiler literals("a file name that is too long for a small string", 1,
                                "int Mirk::Polyp::wave(Activity_t) const",
                                "an object name that is too long for a small string", 5, "Polypia");
        const Profiler withString("a file name that is too long for a small string", 1,
                                  "int Mirk::Polyp::wave(Activity_t) const", object, 5, "Polypia");
        const Profiler strings(object, 1, object, object, 5, object);
    }
    return allocationsOfThisThread() == before ? 0 : Different;
}

int useStatic() {
    staticWithScope.isUsed = true;
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    const std::map<std::string, std::function<int()>> ways = {
        {"aliveAtExit", aliveAtExit},
        {"allocations", countAllocations},
        {"badTexts", badTexts},
        {"fork", forkedChild},
        {"isEnabled", [] { return Profiler::isEnabled() ? 0 : Different; }},
        {"nested", nested},
        {"nothing", [] { return 0; }},
        {"staticDestructor", useStatic},
        {"threads", threads},
        {"threadsInTurn", threadsInTurn},
    };
    const auto way = ways.find(argc > 1 ? argv[1] : "");
    return way == ways.end() ? UnknownWay : way->second();
}
