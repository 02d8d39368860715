#include <Scene.hpp>

#include <UsageError.hpp>
#include <objectNames.hpp>

#include <Displays/AmbientLight.hpp>
#include <Displays/DirectionalLight.hpp>
#include <Displays/GlobeDisplay.hpp>
#include <Displays/Headlight.hpp>
#include <Displays/LineSet.hpp>
#include <Displays/PointCloud.hpp>
#include <Displays/PositionalLight.hpp>
#include <Displays/SpotLight.hpp>
#include <Displays/TriangleSurface.hpp>
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

/// Raises each of the reaches to the largest dot product of its direction with a point.
void raiseToPoints(std::span<const vector> directions, std::span<double> reaches,
                   const PointChunk& points) {
    for (const point& p : points->elements()) {
        for (std::size_t i = 0; i < directions.size(); ++i) {
            reaches[i] = std::max(reaches[i], dot(directions[i], p - point()));
        }
    }
}

/// The same with the ellipsoid itself, so that there is room for what lies on it.
void raiseToTheEarth(std::span<const vector> directions, std::span<double> reaches,
                     double unitsPerMetre) {
    const double a = Skua::WGS84::semiMajorAxisMetres * unitsPerMetre;
    const double b = Skua::WGS84::semiMinorAxisMetres * unitsPerMetre;
    for (std::size_t i = 0; i < directions.size(); ++i) {
        const vector& d = directions[i];
        // The support function of an ellipsoid.
        reaches[i] = std::max(reaches[i], norm(vector{a * d.x, a * d.y, b * d.z}));
    }
}

// --- Lights --------------------------------------------------------------------------------------

template<class Light>
Keel::StrongPtr<Light, Mirk::VManagedObjectBase> makeLight(const std::string& name,
                                                           const LightOptions& options) {
    const Keel::StrongPtr<Light, Mirk::VManagedObjectBase> light(new Light(name));
    light->color().set({}, options.color);
    light->intensity().set({}, options.intensity);
    return light;
}

template<class Light>
Keel::StrongPtr<Light, Mirk::VManagedObjectBase> makeGlinting(const std::string& name,
                                                              const LightOptions& options) {
    const auto light = makeLight<Light>(name, options);
    light->specular().set({}, options.specular);
    return light;
}

/// A light that is too far away for its distance to be told would be dark.
void checkPlace(const point& place, double worldUnit) {
    const double farthest = Mirk::PlacedLight::farthestCoordinate * worldUnit;
    for (const double coordinate : {place.x, place.y, place.z}) {
        if (std::abs(coordinate) <= farthest) continue;
        char message[160];
        std::snprintf(message, sizeof message,
                      "--light: position: expected coordinates from %g to %g with these data, got "
                      "%g; a light of parallel rays is 'directional'",
                      -farthest, farthest, coordinate);
        throw UsageError(message);
    }
}

template<class Light>
Keel::StrongPtr<Light, Mirk::VManagedObjectBase>
makePlaced(const std::string& name, const LightOptions& options, double worldUnit) {
    checkPlace(options.position, worldUnit);
    const auto light = makeGlinting<Light>(name, options);
    light->position().set({}, point() + (options.position - point()) * (1.0 / worldUnit));
    // Distances are measured in that unit.
    light->constant().set({}, options.constant);
    light->linear().set({}, options.linear * worldUnit);
    light->quadratic().set({}, options.quadratic * worldUnit * worldUnit);
    return light;
}

LightPtr lightFor(const std::string& name, const LightOptions& options, double worldUnit) {
    switch (options.kind) {
    case LightKind::ambient:
        break;
    case LightKind::headlight:
        return makeGlinting<Mirk::Headlight>(name, options);
    case LightKind::directional: {
        const auto light = makeGlinting<Mirk::DirectionalLight>(name, options);
        light->direction().set({}, options.direction);
        return light;
    }
    case LightKind::positional:
        return makePlaced<Mirk::PositionalLight>(name, options, worldUnit);
    case LightKind::spot: {
        const auto light = makePlaced<Mirk::SpotLight>(name, options, worldUnit);
        light->direction().set({}, options.direction);
        light->cone().set({}, options.coneDegrees);
        light->exponent().set({}, options.exponent);
        return light;
    }
    }
    return makeLight<Mirk::AmbientLight>(name, options);
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
    }
    std::vector<std::string> files;
    for (const Loaded& loaded : _loaded) files.push_back(loaded.file);
    const std::vector<std::string> names = objectNames(files, _hasEarth ? globeName : "");
    for (std::size_t i = 0; i < _loaded.size(); ++i) {
        const bool liesOnTheGlobe = std::holds_alternative<Mirk::Polylines>(_loaded[i].data);
        const PointChunk points = pointsOf(_loaded[i].data);
        // A display object without data would be a failure; the file has said what it has to say.
        if (!points || points->elements().empty()) continue;
        _objects.push_back({makeDisplay(names[i], std::move(_loaded[i].data)), files[i]});
        if (!liesOnTheGlobe) _fitted.push_back(points);
    }
    _loaded.clear();
    for (const LightOptions& light : _options.lights) {
        const std::string name = "light " + std::to_string(_lights.size() + 1);
        _lights.push_back(lightFor(name, light, _space.worldUnit));
    }
}

DisplayPtr Scene::makeDisplay(const std::string& name, Mirk::Dataset&& data) const {
    const double scale = 1.0 / _space.worldUnit;
    scalePoints(pointsOf(data), scale);
    if (const auto* const lines = std::get_if<Mirk::Polylines>(&data)) {
        const Keel::StrongPtr<Mirk::LineSet, Mirk::VManagedObjectBase> display(
            new Mirk::LineSet(name, *lines, _options.samples > 1, scale));
        display->lineWidth().set({}, _options.lineWidthPixels);
        return display;
    }
    if (const auto* const mesh = std::get_if<Mirk::TriangleMesh>(&data)) {
        return DisplayPtr(new Mirk::TriangleSurface(name, *mesh));
    }
    const Keel::StrongPtr<Mirk::PointCloud, Mirk::VManagedObjectBase> display(
        new Mirk::PointCloud(name, std::get<Mirk::PointSet>(data)));
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
    if (_hasEarth) raiseToTheEarth(directions, result, 1.0 / _space.worldUnit);
    for (const PointChunk& points : _fitted) raiseToPoints(directions, result, points);
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
