#pragma once
// A light with a shader function of its own; stands on VLightSource and RenderNamespace.

#include <Polypia/RenderNamespace.hpp>
#include <Polypia/VLightSource.hpp>

#include <string>

namespace Mirk {

/// A light that brings a function in GLSL and the uniforms of that function, of which each pool has
/// its own. A derived class tells both, and calls enableRequestProcessing() when it is complete:
/// requests then keep the uniforms up to date, so that they are to be served ahead of the first
/// frame.
///
/// Places of lights belong into the uniforms as Skua::PhysicalSpace::point: shaders find them
/// relative to the origin of what is lit, as the vertex is that they get. Directions, which have no
/// origin, are FixedArray<double, 3>.
class POLYPIA_EXPORT ShaderLightSource : public VLightSource {
public:
    using ProgramVariables = RenderNamespace::ProgramVariables;

    /// What shaders see of the light in one pool.
    class POLYPIA_EXPORT MyLightSource : public RenderNamespace::LightSource {
    public:
        /// The youngest light of all.
        explicit MyLightSource(const Keel::WeakPtr<ShaderLightSource, VManagedObjectBase>& owner);
        ~MyLightSource() override;

        /// The owner's getShaderCode(). Of a dead one a text that does not link.
        std::string getLightFunction() override;

    private:
        friend class ShaderLightSource;

        const Keel::WeakPtr<ShaderLightSource, VManagedObjectBase> _owner;
        std::string _lastCode; // that of the last update, under the mutex of the owner
    };
    using MyLightSourcePtr = Keel::StrongPtr<MyLightSource, RenderNamespace::LightSource>;

    class POLYPIA_EXPORT LightState : public State {
    public:
        explicit LightState(const MyLightSourcePtr& source);
        ~LightState() override;

        const MyLightSourcePtr source;
    };

    /// The arguments are those of VObject, which a derived class constructs.
    ShaderLightSource(const std::string& name, int p, const PreferencesPtr& prefs);
    ~ShaderLightSource() override;

    // The order of the virtual operations is part of the interface.

    /// The function of the light in GLSL, with Lighting::placeholder for its index, and with the
    /// signature that RenderNamespace::LightSource::getLightFunction tells. Any thread, also two at
    /// a time.
    virtual std::string getShaderCode() const = 0;
    /// Sets the uniforms from the inputs, in the pool of the request; on its thread, with the mutex
    /// of this object held. Gets a copy of what they were before, which replaces them afterwards:
    /// drawing goes on meanwhile, with the old ones. What is thrown leaves them as they were.
    virtual void updateLight(ProgramVariables& uniforms, VRequest& request) = 0;
    /// Sets uniforms that depend on the frame; on the render thread, at the head of the frame, with
    /// the uniforms locked, which are those that programs get. Shaders don't become due by them: a
    /// name that only this sets has to be in use by the light's function from the beginning. What
    /// is thrown is told as a failure of the light, see environment_render(). Does nothing here.
    virtual void updateLightAtRendering(ProgramVariables& uniforms, VRenderContext& context) const;

    /// Has updateLight() called. The light counts as changed, so that shaders are due, if the text
    /// of its function or the set of names and types of its uniforms is another one: values reach
    /// programs without that. Returns true.
    bool update(VRequest& request, double precision) override;
    /// Enters the light of the context's pool.
    void illuminate(const VRenderContext& context) const override;
    using RenderAble::environment_render;
    /// Draws nothing: calls updateLightAtRendering(). Returns true. What that throws that is no
    /// RenderException becomes one, so that the light's failure is told with its name and reason,
    /// see RenderAble::safe_render().
    bool environment_render(VRenderContext& context) const override;
    /// A LightState. A class that derives its own state derives it from that.
    Keel::StrongPtr<State> newState() const override;

private:
    MyLightSourcePtr sourceIn(const ValuePoolPtr& pool) const;
};

static_assert(std::is_same_v<Keel::RootOf_t<ShaderLightSource>, ShaderLightSource::ReferenceRoot>);

} // namespace Mirk
