// Surfaces in the light of a scene, pixel by pixel against the formulas of the lights and of the
// library's light models, evaluated in double precision.

#include "../PolypiaGL/exactView.hpp"
#include "displayPictures.hpp"

#include <gtest/gtest-spi.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <functional>
#include <limits>
#include <numbers>

using namespace Pictures;

namespace {

using Numbers = std::array<double, 3>;

/// What arrives at a point.
struct Incoming {
    vector incidence; ///< of length 1, or 0 for light from all sides
    Numbers intensity;
    Numbers specular;
};
using Source = std::function<Incoming(const point&)>;

/// How the surface is.
struct Material {
    Numbers color{0.8, 0.6, 0.4};
    double sidedness = 0.0;
    double specular = 0.5;
    double shininess = 8.0;
};

// The formulas of Lighting.glsl.

double sidedDotProduct(double product, double sidedness) {
    return std::max(0.0, product) * std::min(1.0, sidedness + 1.0) +
           std::max(0.0, -product) * std::min(1.0, -sidedness + 1.0);
}

vector reflected(const vector& incoming, const vector& normal) {
    return incoming - normal * (2.0 * dot(normal, incoming));
}

Numbers sidedPhong(const Numbers& diffuse, const Incoming& light, const vector& normal,
                   const vector& viewDirection, double shininess, double sidedness) {
    const vector towards = -light.incidence;
    const double highlight = std::pow(std::max(dot(reflected(towards, normal), viewDirection), 0.0),
                                      std::max(shininess, 1.0));
    Numbers color{};
    for (std::size_t i = 0; i < 3; ++i) {
        const double full = light.intensity[i] * diffuse[i];
        color[i] = dot(towards, towards) == 0.0
                       ? full
                       : full * sidedDotProduct(dot(towards, normal), sidedness) +
                             light.specular[i] * highlight;
    }
    return color;
}

/// What the surface answers to a light: nothing if that is behind the side that is seen, which is 1
/// if it is that of the normal, else -1.
Numbers answer(const Material& material, Incoming light, const vector& normal, double side,
               const vector& towardsEye) {
    if (dot(light.incidence, normal * side) > 0.0) return {};
    for (double& each : light.specular) {
        each *= material.specular * sidedDotProduct(side, material.sidedness);
    }
    return sidedPhong(material.color, light, normal, -towardsEye, material.shininess,
                      material.sidedness);
}

// The formulas of the lights; those of placed ones are OpenGL's for its fixed functions.

Numbers times(double factor, const Numbers& numbers) {
    return {factor * numbers[0], factor * numbers[1], factor * numbers[2]};
}

Source ambient(const Numbers& radiance) {
    return [=](const point&) { return Incoming{{}, radiance, {}}; };
}
Source directional(const Numbers& radiance, const vector& direction) {
    return [=](const point&) { return Incoming{normalised(direction), radiance, radiance}; };
}
Source positional(const Numbers& radiance, const point& place, const Numbers& fallOff) {
    return [=](const point& p) {
        const double d = norm(p - place);
        const double share = 1.0 / (fallOff[0] + fallOff[1] * d + fallOff[2] * d * d);
        return Incoming{normalised(p - place), times(share, radiance), times(share, radiance)};
    };
}
Source spot(const Numbers& radiance, const point& place, const Numbers& fallOff,
            const vector& direction, double coneDegrees, double exponent) {
    return [=](const point& p) {
        Incoming light = positional(radiance, place, fallOff)(p);
        const double along = dot(light.incidence, normalised(direction));
        const double edge = std::cos(coneDegrees * std::numbers::pi / 180.0);
        const double share = along < edge ? 0.0 : std::pow(std::max(along, 0.0), exponent);
        light.intensity = times(share, light.intensity);
        light.specular = times(share, light.specular);
        return light;
    };
}

// ---------------------------------------------------------------------------------------------

class LightPictures : public DisplayPictures {
protected:
    /// A square of the plane z = 0 that fills the picture of the eye.
    Keel::StrongPtr<TriangleSurface, VManagedObjectBase> addPlane(const vector& away = {}) {
        TriangleMesh data = squareOf(2);
        for (point& p : data.points->elements()) p = point() + (p - point()) * 4.0 + away;
        const auto plane = add<TriangleSurface>(std::move(data));
        show(plane, material);
        return plane;
    }
    template<class SurfacePtr>
    static void show(const SurfacePtr& surface, const Material& look) {
        surface->color().set({},
                             {static_cast<float>(look.color[0]), static_cast<float>(look.color[1]),
                              static_cast<float>(look.color[2]), 1.0F});
        surface->sidedness().set({}, look.sidedness);
        surface->specular().set({}, look.specular);
        surface->shininess().set({}, look.shininess);
    }
    template<class Light>
    Keel::StrongPtr<Light, VManagedObjectBase> addLight(const Numbers& radiance) {
        const auto light = add<Light>();
        setRadiance(light, radiance);
        return light;
    }
    template<class LightPtr>
    static void setRadiance(const LightPtr& light, const Numbers& radiance) {
        const double most = std::max({radiance[0], radiance[1], radiance[2]});
        light->intensity().set({}, most);
        light->color().set({}, {static_cast<float>(radiance[0] / most),
                                static_cast<float>(radiance[1] / most),
                                static_cast<float>(radiance[2] / most), 1.0F});
    }
    Keel::StrongPtr<DirectionalLight, VManagedObjectBase> addDirectional(const Numbers& radiance,
                                                                         const vector& direction) {
        const auto light = addLight<DirectionalLight>(radiance);
        light->direction().set({}, direction);
        return light;
    }
    Keel::StrongPtr<PositionalLight, VManagedObjectBase>
    addPositional(const Numbers& radiance, const point& place, const Numbers& fallOff) {
        const auto light = addLight<PositionalLight>(radiance);
        putLight(light, place, fallOff);
        return light;
    }
    template<class LightPtr>
    static void putLight(const LightPtr& light, const point& place, const Numbers& fallOff) {
        light->position().set({}, place);
        light->constant().set({}, fallOff[0]);
        light->linear().set({}, fallOff[1]);
        light->quadratic().set({}, fallOff[2]);
    }
    static void setVisible(const RenderAblePtr& light, const ValuePoolPtr& pool, bool isVisible) {
        writeSlot(light->findInput(RenderAble::VisibilitySlotName()), pool, isVisible);
    }

    /// From `height` above the plane, or below it, at 90 degrees.
    static Eye above(double height, const vector& away = {}) {
        Eye eye = eyeAt(point{0, 0, height} + away, 0.5, 10);
        eye.camera.lookAt = point() + away;
        return eye;
    }
    using View = GLTest::ExactView;

    /// Where a pixel shows the plane z = 0; far away if nowhere.
    static point placeOf(int x, int y, const View& view) {
        const View::Numbers ray = view.rayThrough({x + 0.5L, y + 0.5L});
        const double steps = static_cast<double>(-view.position().z / ray[2]);
        const auto along = [&](std::size_t i) { return static_cast<double>(ray[i]) * steps; };
        return steps > 0.0 ? view.position() + vector{along(0), along(1), along(2)}
                           : point{1e9, 1e9, 0};
    }
    using Normals = std::function<vector(const point&)>;
    static Normals everywhere(const vector& normal) {
        return [=](const point&) { return normal; };
    }
    /// What the surface shows at a place of the plane, of which that side is seen.
    Numbers expectedAt(const point& place, const point& eye, const vector& normal,
                       const std::vector<Source>& sources) const {
        const double side = eye.z < 0.0 ? -1.0 : 1.0;
        Numbers color{};
        for (const Source& source : sources) {
            const Numbers each =
                answer(material, source(place), normal, side, normalised(eye - place));
            for (std::size_t i = 0; i < 3; ++i) color[i] += each[i];
        }
        return color;
    }
    /// The greatest difference of the picture of a plane to that, in levels of 8 bits. Pixels at
    /// whose places something jumps are not looked at.
    double greatestDifference(
        const Image& image, const Eye& eye, const std::vector<Source>& sources,
        const Normals& normals = everywhere({0, 0, 1}),
        const std::function<bool(const point&)>& isLookedAt = [](const point&) {
            return true;
        }) const {
        const View view(eye, size, size);
        double greatest = 0.0;
        int looked = 0;
        for (int i = 0; i < size * size; ++i) {
            const int x = i % size, y = i / size;
            const point place = placeOf(x, y, view);
            const bool isOnThePlane = std::abs(place.x) < 3.9 && std::abs(place.y) < 3.9;
            if (!isOnThePlane || !isLookedAt(place)) continue;
            ++looked;
            const Numbers expected = expectedAt(place, view.position(), normals(place), sources);
            for (std::size_t c = 0; c < 3; ++c) {
                const double level = 255.0 * std::clamp(expected[c], 0.0, 1.0);
                greatest = std::max(greatest, std::abs(image.at(x, y)[c] - level));
            }
        }
        EXPECT_GT(looked, size * size / 3);
        return greatest;
    }

    Material material;
};

TEST_F(LightPictures, AmbientLightIsTheSameEverywhere) {
    addPlane();
    addLight<AmbientLight>({0.5, 0.25, 1.0});
    const Eye eye = above(2);
    const Image image = draw(eye);
    EXPECT_LE(greatestDifference(image, eye, {ambient({0.5, 0.25, 1.0})}), 1.0);
    EXPECT_EQ(image.at(3, 60), (Pixel{102, 38, 102}));
}

TEST_F(LightPictures, DirectionalLightIsItsFormula) {
    addPlane();
    const auto light = addDirectional({0.7, 0.5, 0.3}, {1, 2, -3});
    const Eye eye = above(2);
    EXPECT_LE(greatestDifference(draw(eye), eye, {directional({0.7, 0.5, 0.3}, {1, 2, -3})}), 2.0);
    light->direction().set({}, {0, 0, -1e-3});
    const Image straight = draw(eye);
    EXPECT_LE(greatestDifference(straight, eye, {directional({0.7, 0.5, 0.3}, {0, 0, -1})}), 2.0);
    EXPECT_GT(straight.at(32, 32)[0], straight.at(0, 0)[0] + 30) << "without a glint";
}

TEST_F(LightPictures, EndlessGlintsLeaveNoPixelWithoutANumber) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    material = {{0.2, 0.2, 0.2}, 0.0, 0.0, 8.0};
    const auto plane = addPlane();
    for (const bool isOwn : {true, false}) {
        if (!isOwn) addLight<Headlight>({1, 1, 1});
        material.specular = 0.0;
        material.shininess = 8.0;
        show(plane, material);
        const Eye eye = above(2);
        const Image without = draw(eye);
        material.shininess = infinity;
        show(plane, material);
        EXPECT_EQ(draw(eye).bytes, without.bytes) << "nothing glints";
        material.specular = infinity;
        show(plane, material);
        const Image all = draw(eye);
        int white = 0;
        for (int i = 0; i < size * size; ++i) {
            const Pixel pixel = all.at(i % size, i / size);
            const bool isWhite = pixel == Pixel{255, 255, 255};
            EXPECT_TRUE(isWhite || pixel == without.at(i % size, i / size)) << i;
            white += isWhite ? 1 : 0;
        }
        EXPECT_LT(white, 200);
        material.shininess = 1.0;
        show(plane, material);
        EXPECT_EQ(draw(eye).at(32, 32), (Pixel{255, 255, 255}));
    }
}

TEST_F(LightPictures, LightsAreWhereTheyAreForEyesThatLookFromAnywhere) {
    const auto plane = addPlane();
    const Numbers radiance{0.7, 0.5, 0.3};
    addDirectional(radiance, {1, 2, -3});
    addPositional(radiance, {0.6, -0.4, 0.9}, {0.5, 0.25, 0.4});
    for (const bool isSmooth : {false, true}) {
        plane->smooth().set({}, isSmooth);
        for (const point& place : {point{2, 1, 2}, {-1, -2, 1.5}, {0.5, 1.5, -2}}) {
            Eye eye = above(2);
            eye.camera.position = place;
            eye.camera.up = {0.2, 0.3, 1};
            EXPECT_LE(
                greatestDifference(draw(eye), eye,
                                   {directional(radiance, {1, 2, -3}),
                                    positional(radiance, {0.6, -0.4, 0.9}, {0.5, 0.25, 0.4})}),
                2.0)
                << place.x << " " << isSmooth;
        }
    }
}

TEST_F(LightPictures, SmoothSurfaceIsLitByTheNormalsOfItsPoints) {
    const vector normal = normalised(vector{0.5, -0.3, 1.0});
    TriangleMesh data = squareOf(2);
    for (point& p : data.points->elements()) p = point() + (p - point()) * 4.0;
    data.normals = makeChunk(
        std::vector<Normal>(9, Normal{static_cast<float>(normal.x), static_cast<float>(normal.y),
                                      static_cast<float>(normal.z)}));
    const auto plane = add<TriangleSurface>(std::move(data));
    plane->smooth().set({}, true);
    show(plane, material);
    addDirectional({0.7, 0.5, 0.3}, {-1, 0.5, -3});
    const Eye eye = above(3.5);
    EXPECT_LE(greatestDifference(
                  draw(eye), eye, {directional({0.7, 0.5, 0.3}, {-1, 0.5, -3})}, everywhere(normal),
                  [&](const point& p) { return dot(normal, eye.camera.position - p) > 0.0; }),
              2.0);
}

TEST_F(LightPictures, PositionalLightFallsOffByItsFormula) {
    addPlane();
    const Eye eye = above(2);
    const Numbers radiance{1.5, 1.0, 0.8};
    const point place{0.6, -0.4, 0.9};
    const auto light = addPositional(radiance, place, {1, 0, 0});
    for (const Numbers& fallOff :
         {Numbers{1, 0, 0}, Numbers{0, 1, 0}, Numbers{0, 0, 1}, Numbers{0.5, 0.25, 0.4}}) {
        putLight(light, place, fallOff);
        EXPECT_LE(greatestDifference(draw(eye), eye, {positional(radiance, place, fallOff)}), 2.0)
            << fallOff[0] << " " << fallOff[1] << " " << fallOff[2];
    }
}

TEST_F(LightPictures, AreTheSameAtAnyScale) {
    const auto picture = [&](double scale) {
        objects.clear();
        TriangleMesh data = squareOf(2);
        for (point& p : data.points->elements()) p = point() + (p - point()) * (4.0 * scale);
        show(add<TriangleSurface>(std::move(data)), material);
        const auto put = [&](const vector& way, const Numbers& radiance, const auto& light) {
            setRadiance(light, times(scale * scale, radiance));
            putLight(light, point() + way * scale, {0.1 * scale * scale, 0.1 * scale, 1.0});
        };
        put({0.6, -0.4, 0.9}, {0.5, 0.4, 0.3}, add<PositionalLight>());
        const auto spotLight = add<SpotLight>();
        put({-0.5, 0.3, 1.5}, {0.9, 0.1, 1.5}, spotLight);
        spotLight->direction().set({}, {0.1, 0.2, -1});
        spotLight->cone().set({}, 180.0); // whose edge is nowhere
        spotLight->exponent().set({}, 8.0);
        // Factors alone.
        const auto plain = add<PositionalLight>();
        setRadiance(plain, times(scale * scale, {0.1, 0.2, 0.1}));
        putLight(plain, point() + vector{0.5, 0.9, 0.7} * scale, {0, 0, 1});
        const auto linear = add<PositionalLight>();
        setRadiance(linear, times(scale, {0.1, 0.1, 0.2}));
        putLight(linear, point() + vector{-0.9, 0.9, 0.7} * scale, {0, 1, 0});
        Eye eye = above(2 * scale);
        eye.near = 0.5 * scale;
        eye.far = 10 * scale;
        return draw(eye);
    };
    const Image expected = picture(1.0);
    EXPECT_GT(expected.at(32, 32)[0], 50);
    EXPECT_LT(expected.at(32, 32)[0], 200);
    for (const double scale : {1e-10, 1e10, 1e-17, 1e17}) {
        const Image image = picture(scale);
        int greatest = 0;
        for (std::size_t i = 0; i < image.bytes.size(); ++i) {
            greatest = std::max(greatest, std::abs(image.bytes[i] - expected.bytes[i]));
        }
        EXPECT_LE(greatest, 2) << scale;
    }
}

TEST_F(LightPictures, SpotIsItsFormulaWithinAConeAndNothingOutside) {
    addPlane();
    const Eye eye = above(2);
    const Numbers radiance{2.0, 1.5, 1.0};
    const point place{-0.5, 0.3, 1.5};
    const vector direction{0.3, -0.2, -1.0};
    const auto light = addLight<SpotLight>(radiance);
    putLight(light, place, {0.5, 0.25, 0.1});
    light->direction().set({}, direction * 7.0);
    struct {
        double cone, exponent;
    } const cases[] = {{25, 0}, {40, 1}, {40, 20}, {90, 3}, {180, 0}, {180, 3}};
    for (const auto& [cone, exponent] : cases) {
        light->cone().set({}, cone);
        light->exponent().set({}, exponent);
        const double edge = std::cos(cone * std::numbers::pi / 180.0);
        const Image image = draw(eye);
        // The edge of the cone lies between pixels or on one.
        const auto isOffTheEdge = [&, cone = cone](const point& p) {
            return cone >= 90 ||
                   std::abs(dot(normalised(p - place), normalised(direction)) - edge) > 1e-4;
        };
        EXPECT_LE(
            greatestDifference(image, eye,
                               {spot(radiance, place, {0.5, 0.25, 0.1}, direction, cone, exponent)},
                               everywhere({0, 0, 1}), isOffTheEdge),
            2.0)
            << cone << " " << exponent;
        const bool isBlack = image.at(63, 63) == Pixel{0, 0, 0};
        EXPECT_EQ(isBlack, cone < 60) << cone;
    }
}

TEST_F(LightPictures, BehindASpotThereIsLightWithoutAnExponentAlone) {
    addPlane();
    const Eye eye = above(2);
    const point place{-0.5, 0.3, 1.5};
    const vector direction{1, 0, 0};
    const auto light = addLight<SpotLight>({1, 1, 1});
    putLight(light, place, {1, 0, 0});
    light->direction().set({}, direction);
    light->cone().set({}, 180.0);
    for (const double exponent : {0.0, 0.01, 1.0}) {
        light->exponent().set({}, exponent);
        const Image image = draw(eye);
        EXPECT_LE(greatestDifference(image, eye,
                                     {spot({1, 1, 1}, place, {1, 0, 0}, direction, 180, exponent)}),
                  2.0)
            << exponent;
        EXPECT_EQ(image.at(4, 32) == (Pixel{0, 0, 0}), exponent > 0.0) << exponent;
    }
}

TEST_F(LightPictures, DarkLightsCount) {
    addPlane();
    const Eye eye = above(2);
    ASSERT_GT(draw(eye).at(32, 32)[0], 100);
    const auto light = add<DirectionalLight>();
    light->direction().set({}, {0, 0, 0});
    EXPECT_EQ(draw(eye).at(32, 32), (Pixel{0, 0, 0}));
    light->direction().set({}, {0, 0, -1});
    light->intensity().set({}, 0.0);
    EXPECT_EQ(draw(eye).at(32, 32), (Pixel{0, 0, 0}));
}

class SmallAngles : public LightPictures {
protected:
    SmallAngles() { material.specular = 0.0; }

    /// The plane with a spot, seen from there along its direction.
    void SetUp() override {
        LightPictures::SetUp();
        if (!glContext) return;
        addPlane();
        light = addLight<SpotLight>({1, 1, 1});
        light->exponent().set({}, 0.0);
        light->position().set({}, place);
        light->direction().set({}, downwards);
    }
    /// How many pixels are as bright as half of what there is without a limit, in a picture of
    /// which `radians` are a half.
    int brightPixels(double radians) {
        Eye eye = above(2);
        eye.camera.position = place;
        eye.camera.lookAt = place + downwards;
        eye.camera.fieldOfView = 2.0 * radians * 180.0 / std::numbers::pi;
        const Image image = draw(eye);
        const double half = 0.5 * 255.0 * material.color[0] * -normalised(downwards).z;
        int number = 0;
        for (int i = 0; i < size * size; ++i) {
            number += image.at(i % size, i / size)[0] >= half ? 1 : 0;
        }
        return number;
    }

    const point place{0.3, -0.2, 1.5};
    const vector downwards{-0.3, 0.2, -1.5};
    Keel::StrongPtr<SpotLight, VManagedObjectBase> light;
};

/// In pixels, of a disc whose radius is two thirds of half a picture; edges lie within pixels.
constexpr double discPixels = std::numbers::pi * 64 * 64 / 9.0;

TEST_F(SmallAngles, NarrowConesHaveTheirSize) {
    for (const double degrees : {1.0, 0.1, 0.03, 0.01}) {
        light->cone().set({}, degrees);
        const double radians = degrees * std::numbers::pi / 180.0;
        EXPECT_NEAR(brightPixels(1.5 * radians) / discPixels, 1.0, 0.02) << degrees;
    }
}

TEST_F(SmallAngles, WhatConesLeaveOutBehindThemHasItsSize) {
    light->direction().set({}, -downwards);
    for (const double degrees : {1.0, 0.1, 0.03, 0.01}) {
        light->cone().set({}, 180.0 - degrees);
        const double radians = degrees * std::numbers::pi / 180.0;
        EXPECT_NEAR((size * size - brightPixels(1.5 * radians)) / discPixels, 1.0, 0.02) << degrees;
    }
    light->cone().set({}, 180.0);
    EXPECT_EQ(brightPixels(0.01), size * size);
}

TEST_F(SmallAngles, GreatExponentsGatherTheLightAsTheySay) {
    for (const double exponent : {1e4, 1e6, 1e7}) {
        light->exponent().set({}, exponent);
        const double radians = std::acos(std::pow(0.5, 1.0 / exponent)); // of half the light
        EXPECT_NEAR(brightPixels(1.5 * radians) / discPixels, 1.0, 0.02) << exponent;
    }
    light->exponent().set({}, 1e15);
    EXPECT_LE(brightPixels(0.01), 1);
}

TEST_F(LightPictures, HeadlightShinesFromTheEye) {
    addPlane();
    addLight<Headlight>({0.6, 0.5, 0.4});
    for (const double height : {2.0, 1.0, 3.0}) {
        const Eye eye = above(height);
        EXPECT_LE(greatestDifference(draw(eye), eye,
                                     {positional({0.6, 0.5, 0.4}, eye.camera.position, {1, 0, 0})}),
                  2.0)
            << height;
    }
}

TEST_F(LightPictures, HeadlightWithoutPerspectiveIsAlongTheView) {
    material.specular = 0.0;
    addPlane();
    addLight<Headlight>({0.6, 0.5, 0.4});
    Eye eye = above(2);
    eye.orthographic = true;
    EXPECT_LE(greatestDifference(draw(eye), eye, {directional({0.6, 0.5, 0.4}, {0, 0, -1})}), 2.0);
}

TEST_F(LightPictures, AnyNumberOfLightsAddsUp) {
    material.specular = 0.25;
    addPlane();
    const Eye eye = above(2);
    std::vector<Source> sources;
    for (const int number : {1, 2, 17}) {
        while (sources.size() < static_cast<std::size_t>(number)) {
            const auto i = static_cast<double>(sources.size());
            const Numbers radiance{0.05 + 0.01 * i, 0.1, 0.2 - 0.01 * i};
            if (sources.size() % 3 == 0) {
                const vector direction{std::cos(i), std::sin(i), -1.0 - 0.1 * i};
                addDirectional(radiance, direction);
                sources.push_back(directional(radiance, direction));
            } else {
                const point place{2 * std::cos(i), 2 * std::sin(i), 1};
                addPositional(radiance, place, {0.5, 0, 0.2});
                sources.push_back(positional(radiance, place, {0.5, 0, 0.2}));
            }
        }
        EXPECT_LE(greatestDifference(draw(eye), eye, sources), 2.0) << number;
        EXPECT_EQ(context->numberOfLightSources, number);
    }
}

TEST_F(LightPictures, OwnLightStepsAsideAsSoonAsThereIsOne) {
    addPlane();
    const Eye eye = above(2);
    const Image own = draw(eye);
    EXPECT_GT(own.at(32, 32)[0], 100);
    const auto light = addLight<AmbientLight>({0.1, 0.1, 0.1});
    const Image lit = draw(eye);
    EXPECT_LE(greatestDifference(lit, eye, {ambient({0.1, 0.1, 0.1})}), 1.0);
    setVisible(light, context->pool, false);
    EXPECT_EQ(draw(eye).bytes, own.bytes);
    setVisible(light, context->pool, true);
    EXPECT_EQ(draw(eye).bytes, lit.bytes);
    objects.pop_back();
    EXPECT_EQ(draw(eye).bytes, own.bytes);
}

TEST_F(LightPictures, BothSidesAreLitByWhatIsOnTheirSide) {
    material.sidedness = 0.0;
    const auto plane = addPlane();
    addDirectional({0.7, 0.5, 0.3}, {1, 1, -3});
    addDirectional({0.1, 0.2, 0.3}, {1, 0, 3});
    const std::vector<Source> both{directional({0.7, 0.5, 0.3}, {1, 1, -3}),
                                   directional({0.1, 0.2, 0.3}, {1, 0, 3})};
    for (const double sidedness : {0.0, 1.0, -1.0, 0.8, -0.5}) {
        material.sidedness = sidedness;
        show(plane, material);
        for (const double height : {2.0, -2.0}) {
            const Eye eye = above(height);
            const Image image = draw(eye);
            EXPECT_LE(greatestDifference(image, eye, both), 2.0) << sidedness << " " << height;
            const bool isDark = sidedness * height <= -2.0;
            EXPECT_EQ(image.at(32, 32) == (Pixel{0, 0, 0}), isDark) << sidedness << " " << height;
        }
    }
}

TEST_F(LightPictures, AmbientLightReachesTheUnlitSide) {
    material.sidedness = 1.0;
    addPlane();
    addLight<AmbientLight>({0.5, 0.5, 0.5});
    const Eye below = above(-2);
    EXPECT_LE(greatestDifference(draw(below), below, {ambient({0.5, 0.5, 0.5})}), 1.0);
}

TEST_F(LightPictures, OwnLightKnowsSidesAsWell) {
    material.sidedness = 1.0;
    const auto plane = addPlane();
    const Pixel front = draw(above(2)).at(32, 32), back = draw(above(-2)).at(32, 32);
    EXPECT_GT(front[0], 2 * back[0]);
    EXPECT_GT(back[0], 20);
    material.sidedness = 0.0;
    show(plane, material);
    EXPECT_EQ(draw(above(2)).at(32, 32), draw(above(-2)).at(32, 32));
}

TEST_F(LightPictures, PlacesAreRightOnAPlanet) {
    const Numbers radiance{1.5, 1.0, 0.8};
    const auto picture = [&](const vector& away) {
        objects.clear();
        addPlane(away);
        addPositional(radiance, point{0.6, -0.4, 0.9} + away, {0.5, 0.25, 0.4});
        const auto light = addLight<SpotLight>({0.1, 0.1, 0.9});
        putLight(light, point{-0.5, 0.3, 1.5} + away, {1, 0, 0});
        addLight<Headlight>({0.05, 0.05, 0.05});
        return draw(above(2, away));
    };
    const Eye eye = above(2);
    const std::vector<Source> sources{
        positional(radiance, {0.6, -0.4, 0.9}, {0.5, 0.25, 0.4}),
        spot({0.1, 0.1, 0.9}, {-0.5, 0.3, 1.5}, {1, 0, 0}, {0, 0, -1}, 30, 1),
        positional({0.05, 0.05, 0.05}, eye.camera.position, {1, 0, 0})};
    const auto isOffTheEdge = [](const point& p) {
        const double along = -normalised(p - point{-0.5, 0.3, 1.5}).z;
        return std::abs(along - std::cos(std::numbers::pi / 6)) > 1e-3;
    };
    // At the last one coordinates have steps of a ten-thousandth.
    for (const vector& away :
         {vector{}, {6.4e6 + 0.25, -5e6 + 0.5, 4e6 + 0.125}, {1e12, -1e9 + 0.5, 1e12}}) {
        EXPECT_LE(
            greatestDifference(picture(away), eye, sources, everywhere({0, 0, 1}), isOffTheEdge),
            2.0)
            << away.x;
    }
}

/// So far from the origin of the world, along no axis.
class LightPicturesAt : public LightPictures, public testing::WithParamInterface<double> {
protected:
    vector away() const {
        return vector{0.7, -0.5, 0.509902} * GetParam() + vector{0.25, 0.5, 0.125};
    }
    static bool isOnTheEdge(const point& p) {
        const double along = dot(normalised(p - lamp), normalised(downwards));
        return std::abs(along - std::cos(cone * std::numbers::pi / 180.0)) < 1e-3;
    }

    static constexpr double cone = 35.0, exponent = 2.0;
    static inline const Numbers radiance{1.2, 1.0, 0.8}, fallOff{0.5, 0.25, 0.4};
    static inline const point lamp{0.6, -0.4, 0.9};
    static inline const vector downwards{-0.2, 0.1, -1.0};
};

INSTANTIATE_TEST_SUITE_P(Offsets, LightPicturesAt, testing::Values(0.0, 1e3, 6.4e6, 1e9, 1e12),
                         [](const testing::TestParamInfo<double>& offset) -> std::string {
                             if (offset.param == 0.0) return "Zero";
                             return "E" + std::to_string(std::lround(std::log10(offset.param)));
                         });

TEST_P(LightPicturesAt, EachLightIsItsFormulaForTwoEyesOffTheAxis) {
    const auto eyesAt = [](const vector& place) {
        Eye left = above(2, place), right = left;
        left.separation = -0.1;
        right.separation = 0.1;
        left.focus = right.focus = 1.5;
        return std::vector<Eye>{left, right};
    };
    // Where the steps of coordinates don't count.
    const std::vector<Eye> eyes = eyesAt({});
    const Numbers dim{0.5, 0.4, 0.6};
    const point place = lamp + away();
    const struct {
        const char* name;
        std::function<void()> add;
        Source source;
    } kinds[] = {
        {"ambient", [&] { addLight<AmbientLight>(dim); }, ambient(dim)},
        {"directional",
         [&] {
             addDirectional(dim, {1, 2, -3});
         },
         directional(dim, {1, 2, -3})},
        {"positional", [&] { addPositional(radiance, place, fallOff); },
         positional(radiance, lamp, fallOff)},
        {"spot",
         [&] {
             const auto light = addLight<SpotLight>(radiance);
             putLight(light, place, fallOff);
             light->direction().set({}, downwards);
             light->cone().set({}, cone);
             light->exponent().set({}, exponent);
         },
         spot(radiance, lamp, fallOff, downwards, cone, exponent)},
        // Between the eyes.
        {"headlight", [&] { addLight<Headlight>(dim); }, positional(dim, {0, 0, 2}, {1, 0, 0})}};
    for (const auto& kind : kinds) {
        objects.clear();
        const auto plane = addPlane(away());
        kind.add();
        for (const bool isSmooth : {false, true}) {
            plane->smooth().set({}, isSmooth);
            const std::vector<Image> images = draw(eyesAt(away()));
            for (std::size_t i = 0; i < eyes.size(); ++i) {
                EXPECT_LE(greatestDifference(images[i], eyes[i], {kind.source},
                                             everywhere({0, 0, 1}),
                                             [](const point& p) { return !isOnTheEdge(p); }),
                          2.0)
                    << kind.name << " " << isSmooth << " " << i;
            }
        }
    }
}

TEST_P(LightPicturesAt, SmoothSurfacesAnswerOnBothSidesAsTheirInputsSay) {
    const Normals bent = [](const point& p) {
        return normalised(vector{0.15 * p.x, -0.1 * p.y + 0.1, 1.0});
    };
    TriangleMesh data = squareOf(32);
    std::vector<Normal> normals;
    for (point& p : data.points->elements()) {
        p = point() + (p - point()) * 4.0;
        const vector n = bent(p);
        normals.push_back(
            {static_cast<float>(n.x), static_cast<float>(n.y), static_cast<float>(n.z)});
        p = p + away();
    }
    data.normals = makeChunk(std::move(normals));
    const auto plane = add<TriangleSurface>(std::move(data));
    plane->smooth().set({}, true);
    const Numbers below{0.1, 0.2, 0.3}, beside{0.2, 0.3, 0.2};
    addPositional(radiance, lamp + away(), fallOff);
    addDirectional(below, {1, 0, 3});
    addDirectional(beside, {0.5, 1, -0.3});
    const std::vector<Source> sources{positional(radiance, lamp, fallOff),
                                      directional(below, {1, 0, 3}),
                                      directional(beside, {0.5, 1, -0.3})};
    for (const double sidedness : {0.0, 1.0, -1.0, 0.8, -0.5}) {
        material.sidedness = sidedness;
        show(plane, material);
        for (const double height : {2.0, -2.0}) {
            const Eye eye = above(height);
            // Where light comes along the surface it begins at once.
            const auto isLookedAt = [&](const point& p) {
                return std::abs(dot(bent(p), normalised(vector{0.5, 1, -0.3}))) > 1e-2;
            };
            EXPECT_LE(
                greatestDifference(draw(above(height, away())), eye, sources, bent, isLookedAt),
                2.0)
                << sidedness << " " << height;
        }
    }
}

TEST_F(LightPictures, PlacesStayWhereTheyAreWhileTheCameraFliesAway) {
    const vector away{6.4e6 + 0.25, -5e6 + 0.5, 4e6 + 0.125};
    const Numbers radiance{1.5, 1.0, 0.8};
    addPlane(away);
    addPositional(radiance, point{0.6, -0.4, 0.9} + away, {0.5, 0.25, 0.4});
    const Eye near = above(2);
    for (const double height : {2.0, 1e3, 2.0, 1e6, 50.0, 2.0}) {
        Eye eye = above(height, away);
        eye.near = height / 4;
        eye.far = height * 4;
        const Image image = draw(eye);
        if (height > 2) continue;
        EXPECT_LE(greatestDifference(image, near,
                                     {positional(radiance, {0.6, -0.4, 0.9}, {0.5, 0.25, 0.4})}),
                  2.0);
    }
}

TEST_F(LightPictures, LightFallsOnWhatATransformationMakes) {
    // The square becomes a ball of radius 1, and its middle the point (1, 0, 0).
    const auto ball = add<TriangleSurface>(squareOf(128));
    material.specular = 0.0;
    show(ball, material);
    TransformOperator bend;
    bend.functor = Keel::StrongPtr<TransformOperator::Functor>(new Ball);
    ball->transformSlot().set({}, bend);
    const point place{3, 0, 0};
    addPositional({2.0, 2.0, 2.0}, place, {0, 0, 1});
    Eye eye = eyeAt({3, 0, 0}, 0.5, 10);
    eye.camera.lookAt = {0, 0, 0};
    eye.camera.up = {0, 0, 1};
    // Two units away from the light, and facing it.
    const Pixel middle = draw(eye).at(32, 32);
    for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(middle[i], 255 * material.color[i] * 0.5, 2.0);
    eye.camera.position = {-3, 0, 0};
    EXPECT_EQ(draw(eye).at(32, 32), (Pixel{0, 0, 0})) << "on the night side";
}

TEST_F(LightPictures, EdgesAreDrawnOnLitTriangles) {
    const auto plane = addPlane();
    addDirectional({0.7, 0.5, 0.3}, {1, 2, -3});
    const Eye eye = above(2);
    const Image without = draw(eye);
    plane->edges().set({}, true);
    plane->edgeColor().set({}, {0, 1, 0, 1});
    plane->edgeWidth().set({}, 2.0);
    const Image with = draw(eye);
    EXPECT_EQ(with.at(32, 10), (Pixel{0, 255, 0}));
    EXPECT_EQ(with.at(50, 12), without.at(50, 12));
}

TEST_F(LightPictures, AreTheSameInOnePassForAllEyes) {
    addPlane();
    addDirectional({0.4, 0.3, 0.2}, {1, 2, -3});
    addPositional({1.0, 0.8, 0.6}, {0.6, -0.4, 0.9}, {0.5, 0.25, 0.4});
    addLight<Headlight>({0.1, 0.1, 0.2});
    const std::vector<Eye> eyes{above(2), above(1.5)};
    const auto each = draw(eyes);
    const auto layers = drawInLayers(eyes, 1);
    for (std::size_t i = 0; i < eyes.size(); ++i) EXPECT_EQ(each[i].bytes, layers[i].bytes) << i;
    EXPECT_NE(each[0].bytes, each[1].bytes);
}

TEST_F(LightPictures, EachContextHasItsOwnLights) {
    addPlane();
    const auto red = addLight<AmbientLight>({1.0, 0, 0});
    const auto blue = addLight<AmbientLight>({0, 0, 1.0});
    auto otherSeagrass = GLTest::makeSeagrass();
    auto other = GLTest::makeRenderContext(*glContext, otherSeagrass);
    const auto inOther = [&] {
        std::swap(context, other);
        const Pixel pixel = draw(above(2)).at(32, 32);
        std::swap(context, other);
        return pixel;
    };
    const auto here = [&] { return draw(above(2)).at(32, 32); };
    const Pixel both{204, 0, 102}, redAlone{204, 0, 0}, blueAlone{0, 0, 102};
    EXPECT_EQ(here(), both);
    EXPECT_EQ(inOther(), both);
    setVisible(red, other->pool, false);
    EXPECT_EQ(here(), both);
    EXPECT_EQ(inOther(), blueAlone);
    EXPECT_EQ(here(), both);
    setVisible(blue, context->pool, false);
    EXPECT_EQ(here(), redAlone);
    EXPECT_EQ(inOther(), blueAlone);
    blue->intensity().set(other->pool, 0.5);
    EXPECT_EQ(inOther(), (Pixel{0, 0, 51}));
    setVisible(red, other->pool, true);
    EXPECT_EQ(inOther(), (Pixel{204, 0, 51}));
    EXPECT_EQ(here(), redAlone);
    objects.pop_back();
    EXPECT_EQ(inOther(), redAlone);
    EXPECT_EQ(here(), redAlone);
    other->setTargets(std::vector<const GLFramebuffer*>());
    GLTest::endRenderContext(other, otherSeagrass);
}

/// A light from outside, whose function no compiler takes.
class FaultyLight final : public ShaderLightSource {
public:
    explicit FaultyLight(const std::string& lightName)
        : VObject(lightName, 0, {}), ShaderLightSource(lightName, 0, {}) {
        enableRequestProcessing();
    }
    std::string getShaderCode() const override {
        return "void getLight_$$(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, "
               "out vec3 specular_intensity) { oops }\n";
    }
    void updateLight(ProgramVariables&, VRequest&) override {}
};

TEST_F(LightPictures, FaultyLightLeavesThePictureAsItWas) {
    addPlane();
    const auto good = addLight<AmbientLight>({0.5, 0.5, 0.5});
    const Image before = draw(above(2));
    add<FaultyLight>();
    Image image;
    EXPECT_NONFATAL_FAILURE(image = draw(above(2)), "oops");
    EXPECT_EQ(image.bytes, before.bytes);
    good->intensity().set({}, 0.25);
    EXPECT_EQ(draw(above(2)).at(32, 32), (Pixel{51, 38, 26})) << "still goes on, and told once";
    objects.pop_back();
    good->intensity().set({}, 0.5);
    EXPECT_EQ(draw(above(2)).bytes, before.bytes);
    addLight<AmbientLight>({0.5, 0.5, 0.5});
    EXPECT_EQ(draw(above(2)).at(32, 32), (Pixel{204, 153, 102}));
}

/// Switches the line markers on for what follows in a stage and spoils a word there.
std::string spoiling(const std::string& word) {
    return "#define ZELK_DO_LINE_DIRECTIVE 1\n#define " + word + " 5\n";
}

/// A transformation that does nothing but that.
class SpoilingOperator : public Ball {
public:
    explicit SpoilingOperator(const std::string& word) : _word(word) {}

    std::string myShaderFunctions(VRenderContext& viewing) const override {
        return spoiling(_word) + Ball::myShaderFunctions(viewing);
    }

private:
    const std::string _word;
};

/// A light that does nothing but that to those that come behind it.
class SpoilingLight final : public ShaderLightSource {
public:
    explicit SpoilingLight(const std::string& lightName, const std::string& word)
        : VObject(lightName, 0, {}), ShaderLightSource(lightName, 0, {}), _word(word) {
        enableRequestProcessing();
    }
    std::string getShaderCode() const override {
        return spoiling(_word) +
               "void getLight_$$(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out "
               "vec3 specular_intensity) { light_incidence = intensity = specular_intensity = "
               "vec3(0.0); }\n";
    }
    void updateLight(ProgramVariables&, VRequest&) override {}

private:
    const std::string _word;
};

/// The place of the line that holds those words, as reports tell it.
std::string toldPlace(const std::string& file, const std::string& words) {
    std::ifstream lines(std::string(POLYPIA_SOURCE) + "/" + file);
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        if (line.find(words) != std::string::npos) {
            return " at " + file + ":" + std::to_string(number) + " [";
        }
    }
    return "no such line";
}

TEST_F(LightPictures, FaultsInBlocksAreToldInLinesOfTheirSourcesWhereMarkersAreOn) {
    struct Row {
        const char* word;
        const char* file;
        const char* line;
    };
    for (const Row& row : {Row{"distanceTo", "reef/Displays/clip.glsl", "float distanceTo("},
                           Row{"towardsLight", "reef/Displays/light.glsl", "vec3 towardsLight("}}) {
        const auto plane = addPlane();
        TransformOperator operation;
        operation.functor =
            Keel::StrongPtr<TransformOperator::Functor>(new SpoilingOperator(row.word));
        plane->transformSlot().set({}, operation);
        plane->clippingPlanes().clip0.set({}, {{1, 0, 0}, 0});
        EXPECT_NONFATAL_FAILURE(draw(above(2)), toldPlace(row.file, row.line));
        objects.clear();
    }
    const auto expectOf = [&](const char* file, const auto& addSecond) {
        addPlane();
        add<SpoilingLight>("Light1Intensity");
        addSecond();
        EXPECT_NONFATAL_FAILURE(draw(above(2)), toldPlace(file, "uniform vec3 Light$$Intensity;"));
        objects.clear();
    };
    expectOf("reef/Displays/ambientLight.glsl", [&] { add<AmbientLight>(); });
    expectOf("reef/Displays/directionalLight.glsl", [&] { add<DirectionalLight>(); });
    expectOf("reef/Displays/positionalLight.glsl", [&] { add<PositionalLight>(); });
    expectOf("reef/Displays/spotLight.glsl", [&] { add<SpotLight>(); });
    expectOf("reef/Displays/headlight.glsl", [&] { add<Headlight>(); });
}

} // namespace
