#pragma once
// Numbers, named values and light records that shaders and backends share; stands on rookery.

#include <Polypia/export.hpp>
#include <Polypia/fwd.hpp>

#include <keel/Ageable.hpp>
#include <keel/StrongPtr.hpp>
#include <keel/WeakPtr.hpp>
#include <rookery/Coordinates.hpp>
#include <rookery/FixedArray.hpp>
#include <rookery/Matrix.hpp>

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <variant>
#include <vector>

namespace Mirk {

/// Base that gives its derived classes the names below.
class POLYPIA_EXPORT RenderNamespace {
public:
    // Enumerations have a fixed type, so that every number may be passed on to a backend.

    /// Vertex attributes by number; RenderBasin::AttributeNames tells the shader input of each.
    enum VertexAttributeTypes : int {
        Coordinates = 0,
        Normals = 1,
        Colors = 2,
        SecondaryColors = 3,
        FirstTextureCoordinates = 4,
        SecondTextureCoordinates = 5,
        ThirdTextureCoordinates = 6,
        FourthTextureCoordinates = 7,
    };
    /// What is drawn from the vertices; the numbers go to the backend as they are.
    enum Primitive : int {
        Points = 0,
        Lines = 1,
        LineLoop = 2,
        LineStrip = 3,
        Triangles = 4,
        TriangleStrip = 5,
        TriangleFan = 6,
        Polygon = 9,         ///< one outline: a loop where lines are drawn, else a fan of triangles
        ConnectedLines = 12, ///< a strip of lines in the order of the points
    };
    /// Input and output of a geometry stage; 0 for none.
    enum GeometryInputType : int {
        NoGeometryInput = 0,
        PointsInput = 1,
        LinesInput = 2,
        LinesAdjacencyInput = 3,
        TrianglesInput = 4,
        TrianglesAdjacencyInput = 5,
    };
    enum GeometryOutputType : int {
        NoGeometryOutput = 0,
        PointsOutput = 1,
        LineStripOutput = 2,
        TriangleStripOutput = 3,
    };

    class ProgramVariables;
    class LightSource;
    class Lighting;
};

/// The named values of a program, as a map from name to a value of 20 types, and beside it one map
/// for each of the 15 kinds of value that a light can contribute.
///
/// The types of the first map are ordered as the uniform setters of GLSL: scalars, vectors by
/// length, square matrices, arrays. A point and a plain triple are different types: only points
/// have a floated origin subtracted.
class POLYPIA_EXPORT RenderNamespace::ProgramVariables
    : public std::map<
          std::string,
          std::variant<int, float, double, unsigned int, Skua::FixedArray<int, 2>,
                       Skua::FixedArray<float, 2>, Skua::FixedArray<double, 2>,
                       Skua::FixedArray<int, 3>, Skua::Coordinates<Skua::Cartesian3D, float>::point,
                       Skua::FixedArray<float, 3>, Skua::PhysicalSpace::point,
                       Skua::FixedArray<double, 3>, Skua::FixedArray<int, 4>,
                       Skua::FixedArray<float, 4>, Skua::FixedArray<double, 4>,
                       Skua::Quadratic<2, float>, Skua::Quadratic<3, float>,
                       Skua::Quadratic<4, float>, std::vector<Skua::FixedArray<float, 3>>,
                       std::vector<Skua::Coordinates<Skua::Cartesian3D, float>::point>>> {
public:
    using Variant = mapped_type;

    /// The values of one kind: int, float and double, alone or as FixedArray of 2 to 4, and
    /// Quadratic of 2 to 4.
    template<class T>
    std::map<std::string, T>& values() {
        return std::get<std::map<std::string, T>>(_byKind);
    }
    template<class T>
    const std::map<std::string, T>& values() const {
        return std::get<std::map<std::string, T>>(_byKind);
    }
    /// Calls `visit` with each of the 15 maps.
    template<class Visitor>
    void forEachKind(const Visitor& visit) {
        std::apply([&](auto&... maps) { (visit(maps), ...); }, _byKind);
    }
    template<class Visitor>
    void forEachKind(const Visitor& visit) const {
        std::apply([&](const auto&... maps) { (visit(maps), ...); }, _byKind);
    }
    /// Whether all of the 15 maps are empty.
    bool hasNoKinds() const;

private:
    template<class... T>
    using Maps = std::tuple<std::map<std::string, T>...>;

    Maps<int, float, double, Skua::FixedArray<int, 2>, Skua::FixedArray<float, 2>,
         Skua::FixedArray<double, 2>, Skua::FixedArray<int, 3>, Skua::FixedArray<float, 3>,
         Skua::FixedArray<double, 3>, Skua::FixedArray<int, 4>, Skua::FixedArray<float, 4>,
         Skua::FixedArray<double, 4>, Skua::Quadratic<2, float>, Skua::Quadratic<3, float>,
         Skua::Quadratic<4, float>>
        _byKind;
};

/// A light as shaders see it: a function in GLSL, and its uniforms. The names of both contain the
/// placeholder of Lighting where the index of the light must stand, so that lights with the same
/// code do not collide. Places go into the map of variants as Skua::PhysicalSpace::point, from
/// which a backend subtracts the origin of what is lit; directions as FixedArray<double, 3>.
///
/// The age is that of the last change that takes other shaders: of the function's text, or of the
/// set of names and types of the uniforms. New values of uniforms take no other shaders, as they
/// are merged into programs ahead of each drawing, and leave the age alone.
///
/// The function is asked for on the render thread. The variables may be replaced on any thread: who
/// reads or changes them while another may do so holds lockVariables().
class POLYPIA_EXPORT RenderNamespace::LightSource : public Keel::ReferenceBase<LightSource>,
                                                    public ProgramVariables,
                                                    public Keel::Ageable {
public:
    LightSource();
    ~LightSource() override;
    /// The GLSL definition of the light's function, which has the signature
    ///
    ///     void getLight_$$(in vec3 vertex, out vec3 light_incidence, out vec3 intensity,
    ///                      out vec3 specular_intensity)
    virtual std::string getLightFunction() = 0;

    /// May be locked again by the same thread: who changes variables at the head of a frame may
    /// draw meanwhile.
    std::unique_lock<std::recursive_mutex> lockVariables() const;
    /// The variables as they are now.
    ProgramVariables copyVariables() const;
    /// Replaces them as a whole, so that a merge never sees some of a change. Returns whether names
    /// or types are others than both those of the last replacement and the present ones: a changed
    /// copy of what was set in place is no other form.
    bool replaceVariables(const ProgramVariables& variables);

private:
    mutable std::recursive_mutex _variablesMutex;
    ProgramVariables _lastReplacement;
};

/// Orders lights by the time at which they were made, which is the same in each run of a program
/// as addresses are not: shader text and sums of light then are the same bytes every time. Empty
/// pointers come first; an expired one keeps its place.
struct POLYPIA_EXPORT LightsByCreation {
    using Light = Keel::WeakPtr<RenderNamespace::LightSource, RenderNamespace::LightSource>;
    bool operator()(const Light& a, const Light& b) const noexcept;
};

/// The lights of a context, and the text by which shaders ask for their light. It does not keep
/// them alive: an expired one stays until the set is filled anew. All on the render thread.
///
/// The text is prefix(), the functions of the lights in the order of the set, and postfix(); who
/// stands behind it has getLightAtVertex(), and defines LightFunction(). See Lighting.glsl.
class POLYPIA_EXPORT RenderNamespace::Lighting
    : public std::set<LightsByCreation::Light, LightsByCreation> {
public:
    using Age = Keel::Ageable::Age;
    using SourcePtr = Keel::StrongPtr<LightSource, LightSource>;

    /// What stands for the index of a light in its function and in the names of its uniforms.
    static const std::string placeholder;

    Lighting();
    virtual ~Lighting();

    /// The fixed front of the text.
    static std::string prefix();
    /// The end of the text: getLightAtVertex(), which calls that many functions.
    static std::string postfix(unsigned int numberOfFunctions);
    /// Appends the functions, numbered by their place in the set. An expired light has a number,
    /// but no function: what postfix() makes of it doesn't link. Returns the number of entries.
    unsigned int defineLightFunctions(std::string& code) const;
    /// The name with each placeholder replaced by the index.
    static std::string getEffectiveLightName(const std::string& name, unsigned int index);
    /// Whether a live light has changed, as LightSource tells its age, since then. Is not told by
    /// lights that were added or removed, see compositionIsYoungerThan().
    bool isYoungerThan(const Keel::Ageable& age) const;

    // LightingStamp rises whenever lights are entered, and so with each frame. What tells whether
    // shaders are due is the age of the composition: the time at which the set became another one,
    // by comparison of its lights, one by one. So hiding, removing and swapping lights are noticed,
    // and nothing is compiled while the lights stay what they are.

    /// Enters a light, unless it is empty, and stamps the set. In the set twice it is once.
    void enable(const SourcePtr& source);
    /// Empties the set, calls `fill`, which enters the lights, and stamps the set if they are
    /// others than before; only then the composition is another one.
    void refill(const std::function<void()>& fill);
    /// Keeps the lights alive for the caller, in order, so that what they are can't change while
    /// shaders are made for them; those that have expired already leave the set.
    std::vector<SourcePtr> hold();
    /// Notes that shaders for these lights are due, though the lights are the same.
    void noteComposition();
    Age compositionAge() const noexcept { return _compositionAge; }
    bool compositionIsYoungerThan(const Keel::Ageable& age) const noexcept {
        return _compositionAge > age.age();
    }

    /// Age of the last change of the set.
    std::uint64_t LightingStamp = Keel::Ageable::Ooooold;

private:
    class Refilling;
    using Set = std::set<LightsByCreation::Light, LightsByCreation>;

    Age _compositionAge = Keel::Ageable::Ooooold;
    bool _isRefilling = false;
};

} // namespace Mirk
