#include "testFiles.hpp"

#include <netcdf.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>

using namespace Mirk;
using testing::HasSubstr;

namespace {

const std::string installed = "/usr/share/gmt-gshhg/";

ReaderRegistry& registry() {
    static ReaderRegistry registry({GSHHG_FOLDER});
    return registry;
}

Polylines readLines(const std::string& path, const ReadOptions& options = {}) {
    return std::get<Polylines>(registry().read(InputFile(path), options));
}

std::string errorOfReading(const InputFile& file) {
    testing::internal::CaptureStderr();
    std::string message = "no error";
    try {
        registry().read(file);
    } catch (const ReaderError& error) {
        message = error.what();
    }
    // The libraries below have messages of their own, which are nothing to a user.
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(message.find('\n'), std::string::npos);
    return message;
}

std::span<const Point> lineOf(const Polylines& lines, std::size_t line) {
    const std::vector<std::uint32_t>& starts = lines.starts->vector();
    return std::span<const Point>(lines.points->vector())
        .subspan(starts[line], starts[line + 1] - starts[line]);
}

// What holds for all lines that are read, coasts or not.
void expectSound(const Polylines& lines, double binDegrees) {
    ASSERT_EQ(lines.starts->numberOfElements(), lines.levels->numberOfElements() + 1);
    ASSERT_EQ(lines.starts->vector().front(), 0u);
    ASSERT_EQ(lines.starts->vector().back(), lines.points->numberOfElements());
    std::size_t jumps = 0, wrongBegins = 0, wrongLatitudes = 0, short_ = 0;
    for (std::size_t i = 0; i < lines.levels->numberOfElements(); ++i) {
        const auto line = lineOf(lines, i);
        if (line.size() < 2) {
            ++short_;
            continue;
        }
        if (line[0].x < -180 || line[0].x >= 180) ++wrongBegins;
        for (std::size_t k = 1; k < line.size(); ++k)
            if (std::abs(line[k].x - line[k - 1].x) > binDegrees) ++jumps;
        for (const Point& point : line)
            if (std::abs(point.y) > 90 || point.z != 0) ++wrongLatitudes;
    }
    EXPECT_EQ(short_, 0u);
    EXPECT_EQ(jumps, 0u);
    EXPECT_EQ(wrongBegins, 0u);
    EXPECT_EQ(wrongLatitudes, 0u);
}

struct Installed {
    std::string file, package;
    double binDegrees;
    std::size_t segments, points;

    friend void PrintTo(const Installed& each, std::ostream* out) { *out << each.file; }
};

const Installed coasts[] = {
    {"binned_GSHHS_c.nc", "gmt-gshhg-low", 20, 2258, 14138},
    {"binned_GSHHS_l.nc", "gmt-gshhg-low", 10, 12326, 96280},
    {"binned_GSHHS_i.nc", "gmt-gshhg-low", 5, 45515, 472443},
    {"binned_GSHHS_h.nc", "gmt-gshhg-high", 2, 165645, 2000734},
    {"binned_GSHHS_f.nc", "gmt-gshhg-full", 1, 214376, 10995687},
};

const Installed others[] = {
    {"binned_river_c.nc", "gmt-gshhg-low", 20, 26554, 54413},
    {"binned_river_h.nc", "gmt-gshhg-high", 2, 34525, 602184},
    {"binned_border_c.nc", "gmt-gshhg-low", 20, 1397, 5021},
    {"binned_border_h.nc", "gmt-gshhg-high", 2, 4676, 132736},
};

class GshhgFiles : public testing::TestWithParam<Installed> {
protected:
    void SetUp() override {
        if (!std::filesystem::exists(path()))
            GTEST_SKIP() << "needs " << path() << " of Debian's package " << GetParam().package;
    }
    std::string path() const { return installed + GetParam().file; }
};

class GshhgCoasts : public GshhgFiles {};

TEST_P(GshhgCoasts, AreReadWholeAndClose) {
    ReadOptions options;
    options.groundingLine = true;
    const Polylines lines = readLines(path(), options);
    EXPECT_EQ(lines.kind, LineKind::Coast);
    EXPECT_EQ(lines.coordinates, CoordinateSystem::Geographic);
    EXPECT_EQ(lines.segmentsInFile, GetParam().segments);
    EXPECT_EQ(lines.pointsInFile, GetParam().points);
    expectSound(lines, GetParam().binDegrees);
    // Every segment is used: joining two takes one point away, the one that they share.
    const std::size_t count = lines.levels->numberOfElements();
    EXPECT_EQ(lines.points->numberOfElements(), GetParam().points - (GetParam().segments - count));
    std::size_t open = 0, round = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const auto line = lineOf(lines, i);
        if (line.front() == line.back()) continue;
        // Round the pole the sum of two roundings is the difference: 2 units of 512 in the last
        // place.
        const bool closes = line.front().y == line.back().y &&
                            std::abs(std::abs(line.front().x - line.back().x) - 360) < 2e-13;
        ++(closes ? round : open);
    }
    EXPECT_EQ(open, 0u);
    // Antarctica, with and without its floating ice.
    EXPECT_EQ(round, 2u);
}

TEST_P(GshhgCoasts, LeaveOutTheGroundingLineUnlessAsked) {
    const auto groundingLines = [](const Polylines& lines) {
        const std::vector<unsigned char>& levels = lines.levels->vector();
        return static_cast<std::size_t>(std::count(levels.begin(), levels.end(), 6));
    };
    const Polylines without = readLines(path());
    ReadOptions options;
    options.groundingLine = true;
    const Polylines with = readLines(path(), options);
    EXPECT_EQ(groundingLines(without), 0u);
    EXPECT_GT(groundingLines(with), 0u);
    EXPECT_EQ(with.levels->numberOfElements() - groundingLines(with),
              without.levels->numberOfElements());
    EXPECT_EQ(without.segmentsInFile, GetParam().segments);
    EXPECT_EQ(without.pointsInFile, GetParam().points);
    expectSound(without, GetParam().binDegrees);
}

TEST_P(GshhgCoasts, LieOnTheEllipsoidIfAsked) {
    ReadOptions options;
    options.groundingLine = true;
    const Polylines geographic = readLines(path(), options);
    options.coordinates = CoordinateSystem::EarthCentred;
    const Polylines lines = readLines(path(), options);
    EXPECT_EQ(lines.coordinates, CoordinateSystem::EarthCentred);
    EXPECT_EQ(lines.points->numberOfElements(), geographic.points->numberOfElements());
    double least = 1e9, most = 0;
    for (const Point& point : lines.points->elements()) {
        const double radius = std::sqrt(point.x * point.x + point.y * point.y + point.z * point.z);
        least = std::min(least, radius);
        most = std::max(most, radius);
    }
    EXPECT_GE(least, 6356901.0);
    EXPECT_LE(most, 6378137.005);
    if (GetParam().file == "binned_GSHHS_h.nc") {
        EXPECT_NEAR(least, 6356901.06, 0.005);
        EXPECT_NEAR(most, 6378137.00, 0.005);
    }
}

const auto nameOfFile = [](const testing::TestParamInfo<Installed>& file) {
    return file.param.file.substr(7, file.param.file.size() - 10);
};

INSTANTIATE_TEST_SUITE_P(Installed, GshhgCoasts, testing::ValuesIn(coasts), nameOfFile);

class GshhgOthers : public GshhgFiles {};

TEST_P(GshhgOthers, AreReadAndJoined) {
    const Polylines lines = readLines(path());
    EXPECT_EQ(lines.kind, GetParam().file.find("river") != std::string::npos ? LineKind::River
                                                                             : LineKind::Border);
    EXPECT_EQ(lines.segmentsInFile, GetParam().segments);
    EXPECT_EQ(lines.pointsInFile, GetParam().points);
    expectSound(lines, GetParam().binDegrees);
    EXPECT_LT(lines.levels->numberOfElements(), GetParam().segments / 3 * 2 + 500);
}

INSTANTIATE_TEST_SUITE_P(Installed, GshhgOthers, testing::ValuesIn(others), nameOfFile);

/// A netCDF variable of any type and number of dimensions; `length` over the values' number
/// leaves the rest unwritten.
struct Variable {
    std::string name;
    nc_type type;
    std::vector<int> values;
    int dimensions = 1;
    std::size_t length = 0;
};

struct SmallFile {
    std::vector<Variable> variables;
    int format = NC_NETCDF4;

    Variable& operator[](const std::string& name) {
        return *std::find_if(variables.begin(), variables.end(),
                             [&](const Variable& each) { return each.name == name; });
    }
    void erase(const std::string& name) {
        std::erase_if(variables, [&](const Variable& each) { return each.name == name; });
    }
    std::string write(const TemporaryFolder& folder, const std::string& name = "small.nc") const {
        const std::string path = folder.path(name);
        int id = 0, number = 0;
        EXPECT_EQ(nc_create(path.c_str(), NC_CLOBBER | format, &id), NC_NOERR);
        for (const Variable& variable : variables) {
            int ids[2] = {};
            const std::size_t length = std::max(variable.length, variable.values.size());
            nc_def_dim(id, ("d" + std::to_string(++number)).c_str(), length, &ids[0]);
            if (variable.dimensions == 2)
                nc_def_dim(id, ("d" + std::to_string(++number)).c_str(), 1, &ids[1]);
            int variableId = 0;
            EXPECT_EQ(nc_def_var(id, variable.name.c_str(), variable.type, variable.dimensions, ids,
                                 &variableId),
                      NC_NOERR);
            if (variable.length > 0) {
                const std::size_t chunk = 1000;
                nc_def_var_chunking(id, variableId, NC_CHUNKED, &chunk);
                nc_def_var_deflate(id, variableId, 1, 1, 9);
            }
        }
        nc_enddef(id);
        for (const Variable& variable : variables) {
            int variableId = 0;
            nc_inq_varid(id, variable.name.c_str(), &variableId);
            const std::size_t start[2] = {0, 0}, count[2] = {variable.values.size(), 1};
            if (variable.type == NC_CHAR)
                nc_put_var_text(id, variableId, std::string(variable.values.size(), 'x').data());
            else if (variable.dimensions > 0)
                nc_put_vara_int(id, variableId, start, count, variable.values.data());
            else
                nc_put_var_int(id, variableId, variable.values.data());
        }
        nc_close(id);
        return path;
    }
};

constexpr int info(int points, int level, int exit, int entry) {
    return points << 9 | level << 6 | exit << 3 | entry;
}

// Two bins of 180 degrees. A coast crosses both edges between them, at longitudes 180 and 0, and
// has one segment in each; an island lies in the second bin, and a grounding line too.
SmallFile coastFile() {
    const int full = -1; // 65535 as a short
    return {{{"Bin_size_in_minutes", NC_INT, {10800}},
             {"N_bins_in_360_longitude_range", NC_INT, {2}},
             {"Id_of_first_segment_in_a_bin", NC_INT, {0, 1}},
             {"N_segments_in_a_bin", NC_SHORT, {1, 3}},
             {"Id_of_first_point_in_a_segment", NC_INT, {0, 3, 6, 10}},
             {"Embedded_npts_levels_exit_entry_for_a_segment",
              NC_INT,
              {info(3, 1, 1, 3), info(3, 1, 1, 3), info(4, 2, 4, 4), info(2, 6, 4, 4)}},
             {"Relative_longitude_from_SW_corner_of_bin",
              NC_SHORT,
              {0, 13107, full, 0, 13107, full, 1, 2, 2, 1, 3, 3}},
             {"Relative_latitude_from_SW_corner_of_bin",
              NC_SHORT,
              {5, 0, 7, 7, 13107, 5, 1, 1, 2, 1, 3, 3}}}};
}

SmallFile riverFile() {
    return {{{"Bin_size_in_minutes", NC_INT, {10800}},
             {"N_bins_in_360_longitude_range", NC_INT, {2}},
             {"Id_of_first_segment_in_a_bin", NC_INT, {0, 2}},
             {"N_segments_in_a_bin", NC_SHORT, {2, 2}},
             {"Id_of_first_point_in_a_segment", NC_INT, {0, 2, 4, 6}},
             {"N_points_for_a_segment", NC_SHORT, {2, 2, 2, 2}},
             {"Hierarchial_level_of_a_segment", NC_SHORT, {1, 1, 1, 2}},
             {"Relative_longitude_from_SW_corner_of_bin", NC_SHORT, {9, -1, -1, -1, 0, 9, 0, 8}},
             {"Relative_latitude_from_SW_corner_of_bin", NC_SHORT, {9, 9, 9, 9, 9, 9, 9, 8}}}};
}

class GshhgReaderTest : public testing::Test {
protected:
    TemporaryFolder folder;
};

TEST_F(GshhgReaderTest, StitchesSegmentsAndRunsOnOverTheSeam) {
    const Polylines lines = readLines(coastFile().write(folder));
    EXPECT_EQ(lines.segmentsInFile, 4u);
    EXPECT_EQ(lines.pointsInFile, 12u);
    EXPECT_EQ(lines.levels->vector(), (std::vector<unsigned char>{2, 1}));
    const double step = 180.0 / 65535;
    const auto island = lineOf(lines, 0);
    ASSERT_EQ(island.size(), 4u);
    EXPECT_EQ(island[0], (Point{-180 + step, -90 + step, 0}));
    EXPECT_EQ(island[3], island[0]);
    const auto coast = lineOf(lines, 1);
    ASSERT_EQ(coast.size(), 5u);
    const double longitudes[] = {0, 36, 180, 216, 360};
    const double latitudes[] = {-90 + 5 * step, -90, -90 + 7 * step, -54, -90 + 5 * step};
    for (std::size_t i = 0; i < coast.size(); ++i)
        EXPECT_EQ(coast[i], (Point{longitudes[i], latitudes[i], 0}));
}

TEST_F(GshhgReaderTest, AddsTheGroundingLineIfAskedUnlessItIsAPoint) {
    ReadOptions options;
    options.groundingLine = true;
    SmallFile file = coastFile();
    EXPECT_EQ(readLines(file.write(folder), options).levels->numberOfElements(), 2u);
    file["Id_of_first_point_in_a_segment"].values = {0, 3, 6, 6};
    file["Embedded_npts_levels_exit_entry_for_a_segment"].values[2] = info(2, 2, 4, 4);
    file["Embedded_npts_levels_exit_entry_for_a_segment"].values[3] = info(4, 6, 4, 4);
    file["Id_of_first_point_in_a_segment"].values = {0, 3, 10, 6};
    EXPECT_EQ(readLines(file.write(folder), options).levels->vector(),
              (std::vector<unsigned char>{6, 1}));
}

TEST_F(GshhgReaderTest, JoinsRiversOfOneLevelAndLeavesOutPoints) {
    const Polylines lines = readLines(riverFile().write(folder, "some_river.nc"));
    EXPECT_EQ(lines.kind, LineKind::River);
    EXPECT_EQ(lines.levels->vector(), (std::vector<unsigned char>{1, 2}));
    EXPECT_EQ(lineOf(lines, 0).size(), 3u);
    EXPECT_EQ(readLines(riverFile().write(folder)).kind, LineKind::Border);
}

TEST_F(GshhgReaderTest, ReadsAllFormatsOfNetcdfAndGzip) {
    for (const int format :
         {NC_NETCDF4, NC_NETCDF4 | NC_CLASSIC_MODEL, 0, NC_64BIT_OFFSET, NC_64BIT_DATA}) {
        SmallFile file = coastFile();
        file.format = format;
        const std::string path = file.write(folder);
        EXPECT_EQ(readLines(path).points->numberOfElements(), 9u) << format;
        std::ifstream stream(path, std::ios::binary);
        const std::string content{std::istreambuf_iterator<char>(stream), {}};
        EXPECT_EQ(readLines(folder.write("a.nc.gz", gzipped(content))).points->numberOfElements(),
                  9u)
            << format;
    }
}

struct GshhgFault {
    std::string name;
    std::function<void(SmallFile&)> damage;
    std::string message;
    bool river = false;

    friend void PrintTo(const GshhgFault& fault, std::ostream* out) { *out << fault.name; }
};

const std::string lon = "Relative_longitude_from_SW_corner_of_bin";
const std::string lat = "Relative_latitude_from_SW_corner_of_bin";
const std::string coastInfo = "Embedded_npts_levels_exit_entry_for_a_segment";

std::vector<GshhgFault> gshhgFaults() {
    return {
        {"NoVariables",
         [](SmallFile& f) {
             f.variables = {{"temperature", NC_FLOAT, {1}}};
         },
         "variable Bin_size_in_minutes: expected it in a GSHHG file, got none"},
        {"NoLongitudes", [](SmallFile& f) { f.erase(lon); },
         "variable " + lon + ": expected it in a GSHHG file, got none"},
        {"NoInfo", [](SmallFile& f) { f.erase(coastInfo); },
         "variable N_points_for_a_segment: expected it in a GSHHG file, got none"},
        {"TwoDimensions", [](SmallFile& f) { f[lon].dimensions = 2; },
         "variable " + lon + ": expected 1 dimension, got 2"},
        {"NoDimension", [](SmallFile& f) { f["Bin_size_in_minutes"].dimensions = 0; },
         "variable Bin_size_in_minutes: expected 1 dimension, got 0"},
        {"Text", [](SmallFile& f) { f["N_segments_in_a_bin"].type = NC_CHAR; },
         "variable N_segments_in_a_bin: expected whole numbers of 8 to 32 bits"},
        {"Reals", [](SmallFile& f) { f[coastInfo].type = NC_DOUBLE; },
         "variable " + coastInfo + ": expected whole numbers of 8 to 32 bits"},
        {"LongLatitudes", [](SmallFile& f) { f[lat].type = NC_INT; },
         "variable " + lat + ": expected whole numbers of 16 bits"},
        {"FewLatitudes", [](SmallFile& f) { f[lat].values.pop_back(); },
         "variable " + lat + ": expected 12 entries, got 11"},
        {"FewBins", [](SmallFile& f) { f["Id_of_first_segment_in_a_bin"].values.pop_back(); },
         "variable Id_of_first_segment_in_a_bin: expected 2 entries, got 1"},
        {"ManyBinCounts", [](SmallFile& f) { f["N_segments_in_a_bin"].values.push_back(0); },
         "variable N_segments_in_a_bin: expected 2 entries, got 3"},
        {"FewInfos", [](SmallFile& f) { f[coastInfo].values.pop_back(); },
         "variable " + coastInfo + ": expected 4 entries, got 3"},
        {"TwoBinSizes", [](SmallFile& f) { f["Bin_size_in_minutes"].values.push_back(1); },
         "variable Bin_size_in_minutes: expected 1 entry, got 2"},
        {"BinSizeZero", [](SmallFile& f) { f["Bin_size_in_minutes"].values = {0}; },
         "variable Bin_size_in_minutes: expected a divisor of 10800 from 60 on, got 0"},
        {"BinSizeOdd", [](SmallFile& f) { f["Bin_size_in_minutes"].values = {7000}; },
         "expected a divisor of 10800 from 60 on, got 7000"},
        {"BinsAcross", [](SmallFile& f) { f["N_bins_in_360_longitude_range"].values = {3}; },
         "variable N_bins_in_360_longitude_range: expected 2, got 3"},
        {"SegmentBeyond",
         [](SmallFile& f) {
             f["N_segments_in_a_bin"].values = {1, 4};
         },
         "variable Id_of_first_segment_in_a_bin, entry 1: expected segments from 0 to 4, got 4 "
         "from 1 on"},
        {"SegmentNegative",
         [](SmallFile& f) {
             f["Id_of_first_segment_in_a_bin"].values = {-1, 1};
         },
         "entry 0: expected segments from 0 to 4, got 1 from -1 on"},
        {"SegmentsNegative",
         [](SmallFile& f) {
             f["N_segments_in_a_bin"].values = {-1, 3};
         },
         "entry 0: expected segments from 0 to 4, got -1 from 0 on"},
        {"SegmentTwice",
         [](SmallFile& f) {
             f["N_segments_in_a_bin"].values = {2, 3};
         },
         "variable Id_of_first_segment_in_a_bin, entry 1: expected segments of this bin alone, "
         "got 1 again"},
        {"PointsBeyond", [](SmallFile& f) { f["Id_of_first_point_in_a_segment"].values[3] = 11; },
         "variable Id_of_first_point_in_a_segment, entry 3: expected points from 0 to 12, got 2 "
         "from 11 on"},
        {"PointsHuge",
         [](SmallFile& f) { f["Id_of_first_point_in_a_segment"].values[3] = 2147483647; },
         "expected points from 0 to 12, got 2 from 2147483647 on"},
        {"PointsNegative", [](SmallFile& f) { f[coastInfo].values[0] = -1; },
         "variable Id_of_first_point_in_a_segment, entry 0: expected points from 0 to 12, got -1 "
         "from 0 on"},
        {"PointsZero", [](SmallFile& f) { f[coastInfo].values[0] = info(0, 1, 1, 3); },
         "expected points from 0 to 12, got 0 from 0 on"},
        {"PointsTwice", [](SmallFile& f) { f[coastInfo].values[1] = info(9, 1, 1, 3); },
         "variable Id_of_first_point_in_a_segment: expected segments of 12 points in all, got 16"},
        {"OpenCoast", [](SmallFile& f) { f[lat].values[5] = 6; },
         "bin 1: expected every coast to close, got one that ends at point 5"},
        {"Unwritten", [](SmallFile& f) { f[lat].length = 2000000000; },
         "variable " + lat + ": expected no more entries than the file can hold, got 2000000000"},
        {"LevelNegative", [](SmallFile& f) { f["Hierarchial_level_of_a_segment"].values[2] = -1; },
         "variable Hierarchial_level_of_a_segment, entry 2: expected a level from 0 to 255, got -1",
         true},
        {"NoLevels", [](SmallFile& f) { f.erase("Hierarchial_level_of_a_segment"); },
         "variable Hierarchial_level_of_a_segment: expected it in a GSHHG file, got none", true},
        {"FewLevels", [](SmallFile& f) { f["Hierarchial_level_of_a_segment"].values.pop_back(); },
         "variable Hierarchial_level_of_a_segment: expected 4 entries, got 3", true},
    };
}

class GshhgFaults : public testing::TestWithParam<GshhgFault> {};

TEST_P(GshhgFaults, AreNamedWithFileAndVariable) {
    const TemporaryFolder folder;
    SmallFile file = GetParam().river ? riverFile() : coastFile();
    GetParam().damage(file);
    const std::string path = file.write(folder);
    const std::string error = errorOfReading(InputFile(path));
    EXPECT_THAT(error, testing::StartsWith(path + ": "));
    EXPECT_THAT(error, HasSubstr(GetParam().message));
}

std::string nameOfFault(const testing::TestParamInfo<GshhgFault>& fault) {
    return fault.param.name;
}

INSTANTIATE_TEST_SUITE_P(All, GshhgFaults, testing::ValuesIn(gshhgFaults()), nameOfFault);

TEST_F(GshhgReaderTest, RefusesTextWithTheNameOfNetcdf) {
    const std::string path = folder.write("a.nc", "no netCDF at all");
    EXPECT_EQ(errorOfReading(InputFile(path)),
              path + ": expected a whole netCDF file, but it can't be opened: NetCDF: Unknown file "
                     "format");
}

TEST_F(GshhgReaderTest, RefusesTruncatedFiles) {
    for (const int format : {NC_NETCDF4, 0, NC_64BIT_OFFSET, NC_64BIT_DATA}) {
        SmallFile file = coastFile();
        file.format = format;
        const std::string path = file.write(folder);
        std::ifstream stream(path, std::ios::binary);
        const std::string content{std::istreambuf_iterator<char>(stream), {}};
        for (std::size_t i = 0; i < 20; ++i) {
            const std::string cut = content.substr(0, content.size() * i / 20 + 8);
            const std::string onDisk = folder.write("cut.nc", cut);
            EXPECT_THAT(errorOfReading(InputFile(onDisk)), testing::StartsWith(onDisk + ": "))
                << format << " at " << i;
            EXPECT_THAT(errorOfReading(InputFile("memory.nc", cut)),
                        testing::StartsWith("memory.nc: "))
                << format << " at " << i;
        }
    }
}

TEST_F(GshhgReaderTest, RefusesTheInstalledFileWhenItIsTruncated) {
    const std::string path = installed + "binned_GSHHS_c.nc";
    if (!std::filesystem::exists(path))
        GTEST_SKIP() << "needs " << path << " of Debian's package gmt-gshhg-low";
    std::ifstream stream(path, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(stream), {}};
    for (std::size_t i = 0; i < 20; ++i) {
        const std::string cut =
            folder.write("cut.nc", content.substr(0, content.size() * i / 20 + 8));
        EXPECT_THAT(errorOfReading(InputFile(cut)), testing::StartsWith(cut + ": ")) << i;
    }
}

// Damage crashes the libraries below now and then, which must end as a message.
TEST_F(GshhgReaderTest, SurvivesRandomDamage) {
    std::mt19937 random(20240611);
    const auto below = [&](std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
    };
    for (const int format : {NC_NETCDF4, 0, NC_64BIT_OFFSET}) {
        SmallFile file = coastFile();
        file.format = format;
        std::ifstream stream(file.write(folder), std::ios::binary);
        const std::string content{std::istreambuf_iterator<char>(stream), {}};
        std::size_t refused = 0;
        for (int round = 0; round < 100; ++round) {
            std::string damaged = content;
            for (std::size_t flips = below(3) + 1; flips > 0; --flips)
                damaged[below(damaged.size())] = static_cast<char>(below(256));
            if (errorOfReading(InputFile("damaged.nc", damaged)) != "no error") ++refused;
        }
        EXPECT_GT(refused, 10u);
    }
}

} // namespace
