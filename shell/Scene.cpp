#include <Scene.hpp>

#include <objectNames.hpp>

#include <Displays/GlobeDisplay.hpp>
#include <Displays/LineDisplay.hpp>
#include <Displays/MeshDisplay.hpp>
#include <Displays/PointDisplay.hpp>
#include <rookery/Geodesy.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>
#include <utility>
#include <variant>

namespace Shell {

namespace {

using PointChunk = Mirk::ChunkPtr<point>;

constexpr const char* globeName = "globe";

const PointChunk& pointsOf(const Mirk::Dataset& data) {
    return std::visit([](const auto& content) -> const PointChunk& { return content.points; },
                      data);
}

/// Throws std::runtime_error if squares of the coordinates are beyond what a number can be.
Skua::BoundingBox boundsIn(const std::string& file, const PointChunk& points) {
    Skua::BoundingBox box;
    for (const point& p : points->elements()) box.add(p);
    constexpr double farthest = 1e100;
    for (std::size_t axis = 0; axis < 3 && !box.empty(); ++axis) {
        for (const double coordinate : {box.min[axis], box.max[axis]}) {
            if (std::abs(coordinate) <= farthest) continue;
            char number[32];
            std::snprintf(number, sizeof number, "%g", coordinate);
            throw std::runtime_error(file + ": expected coordinates from -1e100 to 1e100, got " +
                                     number);
        }
    }
    return box;
}

/// A power of two near the radius of data whose squares and products of sizes floats don't hold.
double worldUnitOf(double radius) {
    // Data of common sizes are spared the pass.
    if (radius <= 0.0 || (radius > 1e-3 && radius < 1e9)) return 1.0;
    int exponent = 0;
    std::frexp(radius, &exponent);
    return std::ldexp(1.0, exponent);
}

void scalePoints(const PointChunk& points, double factor) {
    if (factor == 1.0) return;
    for (point& p : points->elements()) p = point() + (p - point()) * factor;
}

} // namespace

Scene::Scene(const PictureOptions& options) : _options(options) {}

void Scene::add(const std::string& file, Mirk::Dataset&& data) {
    if (std::holds_alternative<Mirk::Polylines>(data)) {
        // The globe that is drawn with lines encloses them.
        _hasEarth = true;
    } else {
        _box.merge(boundsIn(file, pointsOf(data)));
    }
    _loaded.push_back({file, std::move(data)});
}

void Scene::complete() {
    // The globe is round: the ball around the corners of its box would be larger.
    const double a = Skua::WGS84::semiMajorAxisMetres;
    Skua::BoundingBall ball = _hasEarth ? Skua::BoundingBall(point(), a) : Skua::BoundingBall();
    _box.updateBall();
    ball.expandBall(_box);
    _space.worldOrigin = ball.centre;
    _space.worldUnit = worldUnitOf(ball.radius);
    _ball = Skua::BoundingBall(point(), std::max(ball.radius, 0.0) / _space.worldUnit);
    if (_hasEarth) {
        const DisplayPtr globe(new Mirk::GlobeDisplay(globeName, 1.0 / _space.worldUnit));
        _objects.push_back({globe, ""});
        _fitted.push_back(globe);
    }
    std::vector<std::string> files;
    for (const Loaded& loaded : _loaded) files.push_back(loaded.file);
    const std::vector<std::string> names = objectNames(files, _hasEarth ? globeName : "");
    for (std::size_t i = 0; i < _loaded.size(); ++i) {
        const bool liesOnTheGlobe = std::holds_alternative<Mirk::Polylines>(_loaded[i].data);
        const DisplayPtr display = makeDisplay(names[i], std::move(_loaded[i].data));
        _objects.push_back({display, files[i]});
        if (!liesOnTheGlobe) _fitted.push_back(display);
    }
    _loaded.clear();
}

DisplayPtr Scene::makeDisplay(const std::string& name, Mirk::Dataset&& data) const {
    const double scale = 1.0 / _space.worldUnit;
    scalePoints(pointsOf(data), scale);
    if (auto* const lines = std::get_if<Mirk::Polylines>(&data)) {
        const Keel::StrongPtr<Mirk::LineDisplay, Mirk::VManagedObjectBase> display(
            new Mirk::LineDisplay(name, std::move(*lines), _options.samples > 1, scale));
        display->lineWidth().set({}, _options.lineWidthPixels);
        return display;
    }
    if (auto* const mesh = std::get_if<Mirk::TriangleMesh>(&data)) {
        return DisplayPtr(new Mirk::MeshDisplay(name, std::move(*mesh)));
    }
    const Keel::StrongPtr<Mirk::PointDisplay, Mirk::VManagedObjectBase> display(
        new Mirk::PointDisplay(name, std::move(std::get<Mirk::PointCloud>(data))));
    display->pointSize().set({}, _options.pointSizePixels);
    return display;
}

Sight Scene::sight() const {
    Sight sight;
    sight.ball = _ball;
    sight.reaches = [this](std::span<const vector> directions) { return reaches(directions); };
    if (_hasEarth) {
        constexpr double longitude = 12.0;
        constexpr double latitude = 28.0;
        sight.direction = point() - Skua::toEarthCentred({longitude, latitude, 0.0});
        sight.viewUp = {0.0, 0.0, 1.0};
    } else {
        sight.direction = {-0.35, -0.30, -1.0};
        sight.viewUp = {0.0, 1.0, 0.0};
    }
    return sight;
}

std::vector<double> Scene::reaches(std::span<const vector> directions) const {
    const vector origin = _space.toDisplays(point()) - point();
    std::vector<double> result;
    for (const vector& direction : directions) result.push_back(dot(direction, origin));
    for (const DisplayPtr& display : _fitted) display->reach(directions, result);
    for (std::size_t i = 0; i < result.size(); ++i) result[i] -= dot(directions[i], origin);
    return result;
}

double Scene::marginPixels() const {
    double margin = 0.0;
    for (const Object& object : _objects) {
        margin = std::max(margin, object.display->marginPixels({}));
    }
    return margin;
}

} // namespace Shell
