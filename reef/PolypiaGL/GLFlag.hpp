#pragma once
// States of OpenGL that hold for a wave; stands on RenderFlag.

#include <Polypia/RenderTentacles.hpp>
#include <PolypiaGL/export.hpp>

#include <array>
#include <optional>
#include <string_view>
#include <vector>

namespace Mirk {

/// Enables or disables a capability for the rest of a wave, then sets it back to what it was.
class POLYPIAGL_EXPORT GLFlag : public RenderBasin::RenderFlag {
public:
    /// The number of a capability such as "GL_DEPTH_TEST"; empty for names that are none, and for
    /// those that the backend takes care of itself.
    static std::optional<unsigned> capability(std::string_view name);

    GLFlag(unsigned capability, bool enabled);
    ~GLFlag() override;

    bool activate(const Polyp& polyp) override;
    bool deactivate(const Polyp& polyp) override;

private:
    void set(bool enabled) const;

    unsigned _capability;
    bool _enabled;
    std::vector<bool> _previous; // one for each time that it is active
};

/// Moves the depth of triangles, so that lines and points on them are seen.
class POLYPIAGL_EXPORT GLPolygonOffset : public GLFlag {
public:
    /// `factor`: of the slope of the triangle. `units`: smallest steps of depth. Both positive to
    /// move away.
    GLPolygonOffset(float factor, float units);
    ~GLPolygonOffset() override;

    bool activate(const Polyp& polyp) override;
    bool deactivate(const Polyp& polyp) override;

private:
    float _factor;
    float _units;
    std::vector<std::array<float, 2>> _previous; // factor and units
};

} // namespace Mirk
