#pragma once
// Objects that are lights and do what the test says; stands on ShaderLightSource.

#include "toldLight.hpp"

#include <Polypia/ShaderLightSource.hpp>

#include <sorrel/TypedSlot.hpp>

#include <functional>
#include <string>

/// An object of a scene that is such a light.
class ToldLightObject : public Mirk::ShaderLightSource {
public:
    using Triple = Skua::FixedArray<double, 3>;

    explicit ToldLightObject(const std::string& objectName)
        : VObject(objectName, 0, {}),
          ShaderLightSource(objectName, 0, {}),
          brightness(this, "brightness", 1.0, 1) {
        enableRequestProcessing();
    }

    std::string getShaderCode() const override { return code; }
    void updateLight(ProgramVariables& uniforms, Mirk::VRequest& request) override {
        if (updating) updating(uniforms, request);
        double grey = 0;
        brightness.get(request.pool, grey);
        uniforms["uLight$$Incidence"] = incidence;
        uniforms["uLight$$Intensity"] = Triple{grey, grey, grey};
        uniforms["uLight$$Specular"] = Triple{0, 0, 0};
    }
    void updateLightAtRendering(ProgramVariables& uniforms,
                                Mirk::VRenderContext& context) const override {
        if (rendering) rendering(uniforms, context);
    }
    void setVisible(const Mirk::ValuePoolPtr& pool, bool isVisible) {
        Mirk::writeSlot(findInput(VisibilitySlotName()), pool, isVisible);
    }
    MyLightSourcePtr source(const Mirk::ValuePoolPtr& pool) const {
        return Keel::StrongPtr<LightState, State>(myState(pool))->source;
    }

    const Mirk::TypedSlot<double> brightness;
    Triple incidence{0, 0, -1};
    std::string code = toldLightCode;
    std::function<void(ProgramVariables&, Mirk::VRequest&)> updating;
    std::function<void(ProgramVariables&, Mirk::VRenderContext&)> rendering;
};
using ToldLightObjectPtr = Keel::StrongPtr<ToldLightObject, Mirk::VManagedObjectBase>;

inline ToldLightObjectPtr toldLightObject(const std::string& name) {
    return ToldLightObjectPtr(new ToldLightObject(name));
}
