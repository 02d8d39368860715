// Measures `polypia render` against bare programs that draw the same, from file to picture. Runs
// them in turns, so that whatever else the machine does burdens both. See docs/benchmarks.md.
//
// wholeProcess_bench [REPETITIONS]; the environment's POLYPIA is the program to measure.

#include <sys/resource.h>
#include <sys/wait.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr double mostTime = 1.3;
constexpr double mostMemory = 1.2;
constexpr int leastRepetitions = 7;

// --- The mesh ------------------------------------------------------------------------------------

template<class T>
void append(std::string& bytes, const T& value) {
    char raw[sizeof value];
    std::memcpy(raw, &value, sizeof value);
    bytes.append(raw, sizeof raw);
}

// A torus of 500 x 500 squares with waves on it, three kilometres wide and far from the origin, as
// survey coordinates are: 250,000 points in double precision and 500,000 triangles, little end
// first. The same formula gives the same file each time.
std::string torus() {
    constexpr std::uint32_t around = 500, across = 500;
    std::string bytes = "ply\nformat binary_little_endian 1.0\nelement vertex " +
                        std::to_string(around * across) +
                        "\nproperty double x\nproperty double y\nproperty double z\n"
                        "element face " +
                        std::to_string(2 * around * across) +
                        "\nproperty list uchar int vertex_indices\nend_header\n";
    for (std::uint32_t i = 0; i < around; ++i) {
        const double u = 2.0 * std::numbers::pi * i / around;
        for (std::uint32_t j = 0; j < across; ++j) {
            const double v = 2.0 * std::numbers::pi * j / across;
            const double radius = 500.0 + 25.0 * std::sin(9.0 * u) * std::sin(7.0 * v);
            const double fromAxis = 1000.0 + radius * std::cos(v);
            append(bytes, 600000.0 + fromAxis * std::cos(u));
            append(bytes, 5300000.0 + fromAxis * std::sin(u));
            append(bytes, 400.0 + radius * std::sin(v));
        }
    }
    const auto at = [](std::uint32_t i, std::uint32_t j) {
        return i % around * across + j % across;
    };
    const auto triangle = [&](std::uint32_t a, std::uint32_t b, std::uint32_t c) {
        append(bytes, std::uint8_t{3});
        for (const std::uint32_t corner : {a, b, c}) append(bytes, corner);
    };
    for (std::uint32_t i = 0; i < around; ++i) {
        for (std::uint32_t j = 0; j < across; ++j) {
            triangle(at(i, j), at(i + 1, j), at(i, j + 1));
            triangle(at(i, j + 1), at(i + 1, j), at(i + 1, j + 1));
        }
    }
    return bytes;
}

void write(const fs::path& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file) throw std::runtime_error("cannot write " + path.string());
}

// --- One run -------------------------------------------------------------------------------------

using Arguments = std::vector<std::string>;

struct Measurement {
    double seconds = 0;
    double processorSeconds = 0; ///< of all threads and children, the system's share counted
    double megabytes = 0;        ///< the most that was resident, in the process or in a child
    std::string output;
};

double seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

std::string readAll(int descriptor) {
    std::string text;
    char part[4096];
    for (;;) {
        const ssize_t got = ::read(descriptor, part, sizeof part);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return text;
        text.append(part, static_cast<std::size_t>(got));
    }
}

[[noreturn]] void execute(const Arguments& arguments, int output) {
    std::vector<char*> words;
    for (const std::string& argument : arguments)
        words.push_back(const_cast<char*>(argument.c_str())); // execv's interface lacks const
    words.push_back(nullptr);
    ::dup2(output, STDOUT_FILENO);
    ::execv(words[0], words.data());
    ::_exit(127);
}

Measurement measure(const Arguments& arguments) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe can be made");
    const auto begin = std::chrono::steady_clock::now();
    const pid_t child = ::fork();
    if (child == 0) execute(arguments, ends[1]);
    ::close(ends[1]);
    Measurement result;
    result.output = readAll(ends[0]);
    ::close(ends[0]);
    int status = 0;
    rusage usage{};
    if (child < 0 || ::wait4(child, &status, 0, &usage) != child || status != 0)
        throw std::runtime_error("this program failed: " + arguments[0]);
    const auto end = std::chrono::steady_clock::now();
    result.seconds = std::chrono::duration<double>(end - begin).count();
    result.processorSeconds = seconds(usage.ru_utime) + seconds(usage.ru_stime);
    result.megabytes = static_cast<double>(usage.ru_maxrss) * 1024e-6;
    return result;
}

// --- Many runs -----------------------------------------------------------------------------------

struct Spread {
    explicit Spread(std::vector<double> values) {
        std::sort(values.begin(), values.end());
        median = (values[(values.size() - 1) / 2] + values[values.size() / 2]) / 2.0;
        least = values.front();
        most = values.back();
    }
    double median, least, most;
};

Spread spread(const std::vector<Measurement>& runs, double Measurement::*value) {
    std::vector<double> values;
    for (const Measurement& run : runs) values.push_back(run.*value);
    return Spread(std::move(values));
}

/// Names and milliseconds of a line such as "read 12.3 ms, convert 4.5 ms, ...".
std::vector<std::pair<std::string, double>> stagesOf(const std::string& output) {
    const std::size_t begin = output.rfind('\n', output.rfind("total")) + 1; // 0 if there is none
    std::istringstream line(output.substr(begin, output.find('\n', begin) - begin));
    std::vector<std::pair<std::string, double>> stages;
    for (std::string part; std::getline(line >> std::ws, part, ',');) {
        const std::size_t number = part.find_first_of("0123456789");
        if (number == std::string::npos || number == 0) continue;
        stages.emplace_back(part.substr(0, number - 1), std::atof(part.c_str() + number));
    }
    return stages;
}

void printSpread(const char* what, const char* unit, const Spread& polypia, const Spread& bare,
                 double limit = 0) {
    const double ratio = polypia.median / bare.median;
    std::printf("  %-15s %-3s %8.3f (%.3f to %.3f) %9.3f (%.3f to %.3f)   %.2f", what, unit,
                polypia.median, polypia.least, polypia.most, bare.median, bare.least, bare.most,
                ratio);
    if (limit > 0) std::printf(", at most %.1f: %s", limit, ratio <= limit ? "met" : "NOT MET");
    std::printf("\n");
}

void printStages(const std::vector<Measurement>& polypia, const std::vector<Measurement>& bare) {
    const auto medians = [](const std::vector<Measurement>& runs, std::size_t stage) {
        std::vector<double> values;
        for (const Measurement& run : runs) values.push_back(stagesOf(run.output).at(stage).second);
        return Spread(std::move(values)).median;
    };
    const auto names = stagesOf(polypia[0].output);
    for (std::size_t i = 0; i < names.size(); ++i)
        std::printf("    %-15s ms %8.1f %28.1f\n", names[i].first.c_str(), medians(polypia, i),
                    medians(bare, i));
}

void compare(const std::string& title, const Arguments& polypia, const Arguments& bare,
             int repetitions) {
    std::vector<Measurement> ofPolypia, ofBare;
    for (int i = -1; i < repetitions; ++i) {
        Measurement first = measure(polypia), second = measure(bare);
        if (i < 0) continue; // files and driver have been read from the disk by now
        ofPolypia.push_back(std::move(first));
        ofBare.push_back(std::move(second));
    }
    std::printf("%s\n  median of %d runs each (least to most)\n"
                "                          polypia                      bare program         "
                "        ratio\n",
                title.c_str(), repetitions);
    const auto print = [&](const char* what, const char* unit, double Measurement::*value,
                           double limit = 0) {
        printSpread(what, unit, spread(ofPolypia, value), spread(ofBare, value), limit);
    };
    print("time", "s", &Measurement::seconds, mostTime);
    print("processor time", "s", &Measurement::processorSeconds);
    print("peak memory", "MB", &Measurement::megabytes, mostMemory);
    printStages(ofPolypia, ofBare);
}

void run(int repetitions) {
    const char* const program = std::getenv("POLYPIA");
    if (!program) throw std::runtime_error("expected the program to measure in POLYPIA");
    const fs::path here = fs::read_symlink("/proc/self/exe").parent_path();
    const std::string picture = here / "polypia.png", barePicture = here / "bare.png";

    const std::string coast = "/usr/share/gmt-gshhg/binned_GSHHS_h.nc";
    if (fs::exists(coast)) {
        compare("Coastlines (2.00 million points), 1600 x 1600 pixels",
                {program, "render", coast, "-o", picture, "--resolution=1600,1600", "--verbose"},
                {here / "bareCoast", coast, barePicture}, repetitions);
    } else {
        std::printf("Coastlines: left out, %s is missing (Debian: gmt-gshhg-high)\n",
                    coast.c_str());
    }

    const std::string mesh = here / "torus.ply";
    write(mesh, torus());
    compare("Binary PLY of 500,000 triangles, 1920 x 1080 pixels",
            {program, "render", mesh, "-o", picture, "--resolution=1920,1080", "--verbose"},
            {here / "bareMesh", mesh, barePicture}, repetitions);
}

} // namespace

int main(int argc, char** argv) {
    try {
        run(std::max(leastRepetitions, argc > 1 ? std::atoi(argv[1]) : 0));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "wholeProcess_bench: %s\n", error.what());
        return 1;
    }
}
