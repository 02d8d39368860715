#pragma once
// What draws set in OpenGL, kept from one draw to the next; internal to the backend, stands on
// ObjectId.

#include <PolypiaGL/ObjectId.hpp>
#include <PolypiaGL/Profile.hpp>
#include <PolypiaGL/export.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace Mirk::GL {

/// Capabilities that programs need or not, and that of indices.
enum class Switch : std::uint8_t {
    ClipDistance0,
    ClipDistance1,
    ProgramPointSize,
    PointSprite,
    PrimitiveRestart,
};
/// Those that a program needs: all but the last.
using ProgramSwitches = std::array<bool, 4>;

/// From where and how a vertex input is fed.
struct VertexSource {
    enum class Conversion : std::uint8_t { ToFloat, Normalised, Integer, Double };

    /// Of the buffer, as OpenGL gives the number of one that is gone to the next.
    std::uint64_t serial = 0;
    unsigned buffer = 0;
    unsigned type = 0;
    int components = 0;
    int strideBytes = 0;
    Conversion conversion = Conversion::ToFloat;
};

/// Program, switches, vertex array and matrices of one context. Between the first enter() and the
/// last leave() it sets only what differs from what it set before, and at the end it goes back to
/// what the caller had: setting all anew for each draw costs a driver more than the draw. Whoever
/// calls OpenGL itself meanwhile calls restore() ahead of that, and leaves these as it found them.
/// Render thread only.
class POLYPIAGL_EXPORT DrawState {
    using Matrix = std::array<double, 16>;

    static constexpr std::size_t numberOfSwitches = 5;

    struct Values {
        unsigned program = 0;
        unsigned vertexArray = 0;
        std::array<bool, numberOfSwitches> switches{};
    };

public:
    /// For a context of this profile, which is current.
    explicit DrawState(Profile profile);
    ~DrawState();
    DrawState(const DrawState&) = delete;
    DrawState& operator=(const DrawState&) = delete;

    /// enter() and leave() of a block.
    class Scope {
    public:
        explicit Scope(DrawState& state) : _state(state) { state.enter(); }
        ~Scope() { _state.leave(); }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        DrawState& _state;
    };
    /// A scope around objects that are drawn one after the other, which begin with the state that
    /// was found ahead of the first one. One that has called restore() and draws others in a frame
    /// of their own finds its state again behind them.
    class Frame {
    public:
        explicit Frame(DrawState& state);
        ~Frame();
        Frame(const Frame&) = delete;
        Frame& operator=(const Frame&) = delete;

        /// Whether it is within another scope, such as a frame or a wave.
        bool isWithin() const { return _isWithin; }

    private:
        const Scope _scope;
        DrawState& _state;
        const bool _isWithin;
        // Of the outer frame:
        const bool _isOthers; ///< somebody there calls OpenGL itself
        const bool _wasRestored;
        const Values _outer;
    };
    void enter() noexcept { ++_depth; }
    void leave() noexcept {
        if (--_depth == 0) restore();
    }
    /// Goes back to the caller's; what comes next starts from what it finds then.
    void restore() noexcept;
    /// Whether restore() was called since the innermost frame began or went back.
    bool wasRestored() const noexcept { return _wasRestored; }
    /// Goes back to what the innermost frame has found, whatever OpenGL has by now.
    void goBack();

    // Outside of enter() and leave() the next ones are plain calls, and nothing is kept.

    void useProgram(unsigned program);
    void setSwitches(const ProgramSwitches& enabled);
    /// The caller's program with its switches.
    void useCallersProgram();
    void setPrimitiveRestart(bool enabled) { set(Switch::PrimitiveRestart, enabled); }
    void bindVertexArray(unsigned array);
    /// The vertex array of the context, for the operations below; within enter() and leave().
    void bindVertexArray();
    void setVertices(unsigned location, const VertexSource& source);
    /// Only the locations of these bits are fed.
    void limitVertices(unsigned locations);
    void setIndices(std::uint64_t serial, unsigned buffer);
    /// Those that a compatibility profile keeps; column by column.
    void setMatrices(const Matrix& projection, const Matrix& modelView);

private:
    static constexpr std::size_t numberOfLocations = 32;

    void know();
    void setAll(const Values& values);
    void set(Switch which, bool enabled);
    void emptyVertexArray();

    const Profile _profile;
    const VertexArrayId _vertexArray; ///< empty but between enter() and leave()
    unsigned _depth = 0;
    bool _isKnown = false;
    bool _wasRestored = false;
    Values _found; ///< by the innermost frame
    Values _callers;
    Values _current;
    unsigned _locations = 0; ///< bits of those that are fed
    std::array<VertexSource, numberOfLocations> _sources{};
    std::uint64_t _indices = 0;
    std::optional<std::array<Matrix, 2>> _callersMatrices; ///< unless they are as they were
};

} // namespace Mirk::GL
