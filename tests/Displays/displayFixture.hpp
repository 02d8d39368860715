#pragma once
// What tests of display objects stand on: a recording context with its cache, that tells what was
// made last; stands on RecordingContext.

#include "../Polypia/RecordingContext.hpp"
#include "displayData.hpp"

#include <Displays/DisplayObject.hpp>
#include <Polypia/RenderException.hpp>
#include <Polypia/VScene.hpp>
#include <sorrel/VActionNotifier.hpp>
#include <sorrel/VRequest.hpp>
#include <sorrel/Vprintf.hpp>

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <variant>
#include <vector>

template<class T>
using DisplayPtr = Keel::StrongPtr<T, Mirk::VManagedObjectBase>;

/// Knows the tentacles that it made last, by name, as long as they live.
class KnowingContext : public RecordingContext {
public:
    using RecordingContext::RecordingContext;

    using RecordingContext::createProgram;
    ProgramPtr createProgram(const std::vector<std::string>& vertexCode,
                             const std::string& vertexName, int vertexLine, GeometryInputType input,
                             const std::vector<std::string>& geometryCode,
                             GeometryOutputType output, const std::string& geometryName,
                             int geometryLine, const std::vector<std::string>& fragmentCode,
                             const std::string& fragmentName, int fragmentLine,
                             const LinkParameters& parameters,
                             const ProgramPtr& previous) override {
        if (onCreateProgram) onCreateProgram();
        return known("program", RecordingContext::createProgram(
                                    vertexCode, vertexName, vertexLine, input, geometryCode, output,
                                    geometryName, geometryLine, fragmentCode, fragmentName,
                                    fragmentLine, parameters, previous));
    }
    VertexAttributePtr createCoordinates(const ChunkPtr& data, const std::string& name) override {
        return known(name, RecordingContext::createCoordinates(data, name));
    }
    VertexAttributePtr createAttribute(const ChunkPtr& data, int number,
                                       const std::string& name) override {
        return known(name, RecordingContext::createAttribute(data, number, name));
    }
    RenderParameterPtr createRenderParameter(const std::string& name, const UpdaterPtr& updater,
                                             const std::type_info& element,
                                             int components) override {
        return known(name,
                     RecordingContext::createRenderParameter(name, updater, element, components));
    }

    std::function<void()> onCreateProgram;

    template<class T>
    T& made(const std::string& name) const {
        const Keel::StrongPtr<T, Tentacle> tentacle(_made.at(name));
        if (!tentacle) throw std::out_of_range(name + " is not there any more");
        return *tentacle; // its polyp holds it
    }
    bool has(const std::string& name) const {
        const auto found = _made.find(name);
        return found != _made.end() && found->second;
    }

private:
    template<class T>
    T known(const std::string& name, const T& tentacle) {
        _made[name] = Keel::WeakPtr<Tentacle, Tentacle>(tentacle);
        return tentacle;
    }

    std::map<std::string, Keel::WeakPtr<Tentacle, Tentacle>> _made;
};

class DisplayTest : public testing::Test {
protected:
    using point = Skua::PhysicalSpace::point;
    using vector = Skua::PhysicalSpace::vector;
    using FloatPoint = Skua::Coordinates<Skua::Cartesian3D, float>::point;
    using vec4 = Skua::FixedArray<float, 4>;

    DisplayTest() {
        context.basin.blocks = {"MultiView"};
        lookFrom(0, {0.0, 0.0, 10.0});
    }
    ~DisplayTest() override { Mirk::VActionNotifier::clear(); }

    /// Puts an eye there, looking along -z.
    void lookFrom(unsigned eye, const point& place) {
        Mirk::View& view = context.CurrentView(eye, 0);
        view.camera.position = place;
        view.camera.lookAt = place - vector{0.0, 0.0, 10.0};
        view.setFrustum(-1.0, 1.0, -1.0, 1.0, 1.0, 100.0);
        view.computeModelViewMatrix();
    }
    /// Has the object read its inputs.
    bool request(Mirk::VObject& object) {
        Mirk::VRequest request(context.pool);
        return request.process(object, 1.0);
    }
    /// A frame, ahead of which a viewer makes a request.
    bool draw(Mirk::RenderAble& object) {
        request(object);
        const Mirk::View view;
        return object.render(context, view, sub);
    }
    Skua::BoundingBox boundsOf(Mirk::RenderAble& object) {
        request(object);
        const auto ball = object.getBoundingBall(context.pool);
        const auto* const box = dynamic_cast<const Skua::BoundingBox*>(ball.get());
        return box != nullptr ? *box : Skua::BoundingBox();
    }
    /// Draws with so little time that an object, which takes half of it, leaves out vertices.
    bool drawAt(double precision, Mirk::RenderAble& object) {
        class Precision : public Mirk::VRenderPrecision {
        public:
            void adaptPrecision() override {}
        };
        context.precision = Keel::StrongPtr<Mirk::VRenderPrecision>(new Precision);
        context.precision->precision = precision;
        Mirk::writeParameter<double>(
            object.findOutput(Mirk::Zelk::rendertime_contribution)->parameter(), context.pool, 0.5);
        return draw(object);
    }
    /// The last report of the object, "" if it is well.
    std::string reportOf(const Mirk::VRenderObject& object) {
        return object.renderStatusSlot().value(context.pool).text;
    }
    /// Draws, and returns how many calls of that kind the backend saw meanwhile.
    long callsOfDraw(Mirk::RenderAble& object, const std::string& call) {
        context.basin.log->take();
        EXPECT_TRUE(draw(object));
        const auto calls = context.basin.log->take();
        return std::count_if(calls.begin(), calls.end(),
                             [&](const std::string& text) { return text.starts_with(call); });
    }
    bool isRefilledByDraw(Mirk::RenderAble& object) {
        return callsOfDraw(object, "createCoordinates") > 0;
    }
    bool isCompiledByDraw(Mirk::RenderAble& object) {
        return callsOfDraw(object, "createProgram") > 0;
    }

    RecordingProgram& program() const { return context.made<RecordingProgram>("program"); }
    template<class T>
    T variable(const std::string& name) const {
        return std::get<T>(program().at(name));
    }
    template<class T>
    std::vector<T> attribute(const std::string& name) const {
        const auto& data = *context.made<RecordingAttribute>(name).data;
        if (data.elementType() != typeid(T)) throw std::bad_variant_access();
        const T* const first = static_cast<const T*>(data.data());
        return {first, first + data.numberOfElements()};
    }
    std::vector<float> parameter(const std::string& name) const {
        return context.made<RecordingParameter>(name).values<float>();
    }
    std::string vertexText() const { return program().vertex.code.front(); }

    Keel::StrongPtr<Mirk::Seagrass> seagrass = Keel::make<Mirk::Seagrass>(1U << 30, "test");
    KnowingContext context{seagrass};
    Mirk::RenderAble::SubContext sub;
};
