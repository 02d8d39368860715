// A module: coastlines, rivers and borders as the Generic Mapping Tools have them (binned GSHHG).

#include <Readers/ReaderModule.hpp>

#include <Readers/ReaderError.hpp>
#include <Readers/isolatedWork.hpp>
#include <Readers/lineStitcher.hpp>
#include <Readers/netcdfFile.hpp>

#include <algorithm>
#include <limits>
#include <new>
#include <span>

namespace Mirk {
namespace {

// The files tell points by bins of B degrees. Bin b has its west at (b mod nx) B and its south at
// 90 - (b / nx + 1) B; a coordinate is B / 65535 times a number without sign, from there.
constexpr std::uint32_t stepsPerBin = 65535;
constexpr int minutesRound = 360 * 60;

constexpr int groundingLineLevel = 6;

struct Bins {
    double degrees;
    std::uint32_t across, up;

    std::uint32_t column(std::uint32_t bin) const { return bin % across; }
    /// Counted from the south.
    std::uint32_t row(std::uint32_t bin) const { return up - 1 - bin / across; }
};

struct Segment {
    std::uint32_t firstPoint, points, bin;
    unsigned char level;
};

constexpr const char* coastInfo = "Embedded_npts_levels_exit_entry_for_a_segment";
constexpr const char* binSize = "Bin_size_in_minutes";
constexpr const char* binsAcross = "N_bins_in_360_longitude_range";
constexpr const char* firstSegment = "Id_of_first_segment_in_a_bin";
constexpr const char* segmentCount = "N_segments_in_a_bin";
constexpr const char* firstPoint = "Id_of_first_point_in_a_segment";
constexpr const char* pointCount = "N_points_for_a_segment";
constexpr const char* levelName = "Hierarchial_level_of_a_segment";
constexpr const char* longitudeName = "Relative_longitude_from_SW_corner_of_bin";
constexpr const char* latitudeName = "Relative_latitude_from_SW_corner_of_bin";

/// The variables as they stand in the file, read in another process: only their form is checked.
class Variables {
public:
    explicit Variables(const InputFile& file) : _work([&](auto& output) { read(file, output); }) {
        if (!_work.isDone())
            throw ReaderError(file.path(), "",
                              "expected a sound netCDF file, but libnetcdf fails over this one");
        const auto kind = next<char>();
        if (kind[0] == outOfMemory) throw std::bad_alloc();
        if (kind[0] == failure) {
            const auto place = next<char>(), reason = next<char>();
            throw ReaderError(file.path(), {place.begin(), place.end()},
                              {reason.begin(), reason.end()});
        }
        isCoast = kind[0] == coast;
        minutesOfBin = next<int>()[0];
        binsAcrossFile = next<int>()[0];
        for (auto* numbers : {&firstSegments, &segmentCounts, &firstPoints, &infos, &levels})
            *numbers = next<int>();
        longitudes = next<std::uint16_t>();
        latitudes = next<std::uint16_t>();
    }

    bool isCoast;
    int minutesOfBin, binsAcrossFile;
    std::span<const int> firstSegments, segmentCounts; ///< for each bin
    /// For each segment. Of coasts, `infos` are the embedded ones and there are no `levels`; else
    /// they are the numbers of points.
    std::span<const int> firstPoints, infos, levels;
    std::span<const std::uint16_t> longitudes, latitudes; ///< for each point

private:
    static constexpr char coast = 'c', other = 'o', failure = 'f', outOfMemory = 'm';

    template<class T>
    std::span<const T> next() {
        const std::span<const char> block = _work.next();
        return {reinterpret_cast<const T*>(block.data()), block.size() / sizeof(T)};
    }

    static void append(IsolatedOutput& output, const auto& elements) {
        output.append(elements.data(), elements.size() * sizeof(elements[0]));
    }

    static void read(const InputFile& file, IsolatedOutput& output) {
        try {
            readAll(file, output);
        } catch (const ReaderError& error) {
            output.append(&failure, 1);
            append(output, error.place());
            append(output, error.reason());
        } catch (const std::bad_alloc&) {
            output.append(&outOfMemory, 1);
        }
    }

    // Everything is read before anything is appended, as a failure has to come first.
    static void readAll(const InputFile& file, IsolatedOutput& output) {
        const NetcdfFile netcdf(file);
        const bool hasCoast = netcdf.has(coastInfo);
        const int minutes = netcdf.number(binSize), across = netcdf.number(binsAcross);
        const auto segmentsOfBins = netcdf.numbers(firstSegment);
        const auto countsOfBins = netcdf.numbers(segmentCount);
        const auto pointsOfSegments = netcdf.numbers(firstPoint);
        const auto segmentInfos = netcdf.numbers(hasCoast ? coastInfo : pointCount);
        const auto segmentLevels = hasCoast ? std::vector<int>() : netcdf.numbers(levelName);
        const auto x = netcdf.unsignedShorts(longitudeName);
        const auto y = netcdf.unsignedShorts(latitudeName);
        output.append(hasCoast ? &coast : &other, 1);
        output.append(&minutes, sizeof minutes);
        output.append(&across, sizeof across);
        for (const auto* numbers :
             {&segmentsOfBins, &countsOfBins, &pointsOfSegments, &segmentInfos, &segmentLevels})
            append(output, *numbers);
        append(output, x);
        append(output, y);
    }

    IsolatedWork _work;
};

class Decoder {
public:
    Decoder(const InputFile& file, const ReadOptions& options)
        : _file(file),
          _options(options),
          _variables(file),
          _isCoast(_variables.isCoast),
          _longitudes(_variables.longitudes),
          _latitudes(_variables.latitudes) {
        readBins();
        readSegments();
    }

    Polylines decode(LineKind otherKind) const {
        std::vector<LinePiece> pieces;
        std::vector<const Segment*> segments;
        for (const Segment& segment : _segments) {
            // Files of rivers have pieces that are a point, at the edges of bins.
            if (isPoint(segment)) continue;
            pieces.push_back(pieceOf(segment));
            segments.push_back(&segment);
        }
        const StitchedLines stitched = stitchLines(pieces);
        if (_isCoast) demandRings(pieces, segments, stitched);

        Polylines lines;
        lines.kind = _isCoast ? LineKind::Coast : otherKind;
        lines.segmentsInFile = _segmentsInFile;
        lines.pointsInFile = _longitudes.size();
        std::vector<Point> points;
        points.reserve(_pointsUsed);
        std::vector<std::uint32_t> starts;
        std::vector<unsigned char> levels;
        starts.reserve(stitched.starts.size());
        levels.reserve(stitched.starts.size() - 1);
        for (std::size_t line = 0; line + 1 < stitched.starts.size(); ++line) {
            const std::uint32_t begin = stitched.starts[line], end = stitched.starts[line + 1];
            starts.push_back(static_cast<std::uint32_t>(points.size()));
            levels.push_back(pieces[stitched.order[begin]].level);
            double turn = pieces[stitched.order[begin]].first.x >= period() / 2 ? -360.0 : 0.0;
            for (std::uint32_t i = begin; i < end; ++i) {
                const Segment& segment = *segments[stitched.order[i]];
                if (i > begin) turn += turnBetween(*segments[stitched.order[i - 1]], segment);
                // The first point of a piece is the last one of the piece before.
                append(points, segment, i > begin ? 1 : 0, turn);
            }
        }
        starts.push_back(static_cast<std::uint32_t>(points.size()));
        lines.points = makeChunk(std::move(points));
        lines.starts = makeChunk(std::move(starts));
        lines.levels = makeChunk(std::move(levels));
        if (_options.coordinates == CoordinateSystem::EarthCentred) toEarthCentred(lines);
        return lines;
    }

private:
    [[noreturn]] void fail(const std::string& place, const std::string& reason) const {
        throw ReaderError(_file.path(), place, reason);
    }

    static std::string entry(const char* variable, std::size_t index) {
        return std::string("variable ") + variable + ", entry " + std::to_string(index);
    }

    void demandLength(const char* variable, std::size_t length, std::size_t expected) const {
        if (length != expected)
            fail(std::string("variable ") + variable, "expected " + std::to_string(expected) +
                                                          " entries, got " +
                                                          std::to_string(length));
    }

    void readBins() {
        const int minutes = _variables.minutesOfBin;
        // Half of the circle from pole to pole must be whole bins too, and none is finer than 1
        // degree.
        if (minutes < 60 || minutesRound / 2 % minutes != 0)
            fail(std::string("variable ") + binSize,
                 "expected a divisor of 10800 from 60 on, got " + std::to_string(minutes));
        _bins = {minutes / 60.0, static_cast<std::uint32_t>(minutesRound / minutes),
                 static_cast<std::uint32_t>(minutesRound / 2 / minutes)};
        const int across = _variables.binsAcrossFile;
        if (across != static_cast<int>(_bins.across))
            fail(std::string("variable ") + binsAcross,
                 "expected " + std::to_string(_bins.across) + ", got " + std::to_string(across));
    }

    void readSegments() {
        const auto firsts = _variables.firstSegments, counts = _variables.segmentCounts;
        demandLength(firstSegment, firsts.size(), std::size_t{_bins.across} * _bins.up);
        demandLength(segmentCount, counts.size(), firsts.size());

        const auto firstPoints = _variables.firstPoints, infos = _variables.infos;
        const auto levels = _variables.levels;
        _segmentsInFile = firstPoints.size();
        demandLength(_isCoast ? coastInfo : pointCount, infos.size(), _segmentsInFile);
        if (!_isCoast) demandLength(levelName, levels.size(), _segmentsInFile);

        const std::size_t points = _longitudes.size();
        demandLength(latitudeName, _latitudes.size(), points);
        if (points > std::numeric_limits<std::uint32_t>::max())
            fail(std::string("variable ") + longitudeName,
                 "expected at most 4294967295 entries, got " + std::to_string(points));

        _segments.reserve(_segmentsInFile);
        std::vector<bool> isUsed(_segmentsInFile);
        for (std::size_t bin = 0; bin < firsts.size(); ++bin) {
            demandRange(firstSegment, bin, firsts[bin], counts[bin], 0, _segmentsInFile,
                        "segments");
            for (int i = firsts[bin]; i < firsts[bin] + counts[bin]; ++i) {
                const auto index = static_cast<std::size_t>(i);
                if (isUsed[index])
                    fail(entry(firstSegment, bin), "expected segments of this bin alone, got " +
                                                       std::to_string(i) + " again");
                isUsed[index] = true;
                const int info = infos[index];
                const int count = _isCoast ? info >> 9 : info;
                demandRange(firstPoint, index, firstPoints[index], count, 1, points, "points");
                const int level = _isCoast ? info >> 6 & 7 : levels[index];
                if (level < 0 || level > 255)
                    fail(entry(levelName, index),
                         "expected a level from 0 to 255, got " + std::to_string(level));
                if (_isCoast && level == groundingLineLevel && !_options.groundingLine) continue;
                _segments.push_back({static_cast<std::uint32_t>(firstPoints[index]),
                                     static_cast<std::uint32_t>(count),
                                     static_cast<std::uint32_t>(bin),
                                     static_cast<unsigned char>(level)});
                _pointsUsed += static_cast<std::size_t>(count);
            }
        }
        // Ranges of points that overlap would make a small file a large dataset.
        if (_pointsUsed > points)
            fail(std::string("variable ") + firstPoint,
                 "expected segments of " + std::to_string(points) + " points in all, got " +
                     std::to_string(_pointsUsed));
    }

    void demandRange(const char* variable, std::size_t index, int first, int count, int least,
                     std::size_t available, const char* what) const {
        if (count >= least && first >= 0 &&
            static_cast<std::size_t>(first) + static_cast<std::size_t>(count) <= available)
            return;
        // Empty bins may point anywhere.
        if (count == 0 && least == 0) return;
        fail(entry(variable, index),
             "expected " + std::string(what) + " from 0 to " + std::to_string(available) +
                 ", got " + std::to_string(count) + " from " + std::to_string(first) + " on");
    }

    std::uint32_t period() const { return _bins.across * stepsPerBin; }

    LatticePoint latticePoint(const Segment& segment, std::uint32_t index) const {
        const std::uint32_t point = segment.firstPoint + index;
        const std::uint32_t x = _bins.column(segment.bin) * stepsPerBin + _longitudes[point];
        return {x % period(), _bins.row(segment.bin) * stepsPerBin + _latitudes[point]};
    }

    LinePiece pieceOf(const Segment& segment) const {
        return {latticePoint(segment, 0), latticePoint(segment, segment.points - 1), segment.bin,
                segment.level};
    }

    bool isPoint(const Segment& segment) const {
        const std::uint32_t first = segment.firstPoint, end = first + segment.points;
        for (std::uint32_t i = first + 1; i < end; ++i)
            if (_longitudes[i] != _longitudes[first] || _latitudes[i] != _latitudes[first])
                return false;
        return true;
    }

    void demandRings(const std::vector<LinePiece>& pieces,
                     const std::vector<const Segment*>& segments,
                     const StitchedLines& stitched) const {
        for (std::size_t line = 0; line + 1 < stitched.starts.size(); ++line) {
            const std::uint32_t first = stitched.order[stitched.starts[line]];
            const std::uint32_t last = stitched.order[stitched.starts[line + 1] - 1];
            if (pieces[first].first == pieces[last].last) continue;
            fail("bin " + std::to_string(segments[last]->bin),
                 "expected every coast to close, got one that ends at point " +
                     std::to_string(segments[last]->firstPoint + segments[last]->points - 1));
        }
    }

    // Degrees to add to longitudes from one piece on, so that they run on without a jump where
    // the line passes from the last column of bins to the first, or back.
    double turnBetween(const Segment& before, const Segment& after) const {
        const std::uint32_t end = _bins.column(before.bin) * stepsPerBin +
                                  _longitudes[before.firstPoint + before.points - 1];
        const std::uint32_t begin =
            _bins.column(after.bin) * stepsPerBin + _longitudes[after.firstPoint];
        return end == begin ? 0.0 : end > begin ? 360.0 : -360.0;
    }

    void append(std::vector<Point>& points, const Segment& segment, std::uint32_t skipped,
                double turn) const {
        const double west = _bins.column(segment.bin) * _bins.degrees + turn;
        const double south = _bins.row(segment.bin) * _bins.degrees - 90.0;
        const std::uint32_t end = segment.firstPoint + segment.points;
        for (std::uint32_t i = segment.firstPoint + skipped; i < end; ++i)
            points.push_back({west + _longitudes[i] * _bins.degrees / stepsPerBin,
                              south + _latitudes[i] * _bins.degrees / stepsPerBin, 0.0});
    }

    const InputFile& _file;
    const ReadOptions& _options;
    Variables _variables;
    bool _isCoast;
    std::span<const std::uint16_t> _longitudes, _latitudes;
    Bins _bins{};
    std::vector<Segment> _segments;
    std::size_t _segmentsInFile = 0, _pointsUsed = 0;
};

class GshhgReader : public Reader {
public:
    std::string name() const override { return "GSHHG coastlines"; }
    std::vector<std::string> extensions() const override { return {"nc"}; }
    // Any netCDF file, of the format that is HDF5 and of the older ones.
    Recognition recognises(const InputFile& file) const override {
        const bool netcdf = file.head().starts_with("\x89HDF\r\n\x1a\n") ||
                            file.head().starts_with("CDF\1") || file.head().starts_with("CDF\2") ||
                            file.head().starts_with("CDF\5");
        return netcdf ? Recognition::Container : Recognition::None;
    }
    Dataset read(const InputFile& file, const ReadOptions& options) const override {
        // Rivers and borders have the same variables, and the title of the borders: the name of
        // the file alone tells.
        const std::string name = file.path().substr(file.path().find_last_of('/') + 1);
        const bool river = name.find("river") != std::string::npos;
        return Decoder(file, options).decode(river ? LineKind::River : LineKind::Border);
    }
};

void registerReaders(ReaderRegistry& registry) {
    registry.add(std::make_unique<GshhgReader>());
}

} // namespace
} // namespace Mirk

POLYPIA_READER_MODULE(Mirk::registerReaders)
