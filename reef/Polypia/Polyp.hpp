#pragma once
// The cached GPU state of one display object in one context; stands on keel's cache.

#include <Polypia/export.hpp>
#include <Polypia/fwd.hpp>

#include <keel/Cacheable.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <forward_list>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Mirk {

/// Everything that one display object needs to draw itself once in one render context: its
/// tentacles, ordered by key. A wave activates them in ascending order of their keys and
/// deactivates them in exactly the reverse, so that the keys are the order in which graphics state
/// is set up:
///
///     -16384       timer, around everything
///     0 .. 1023    shader programs, 0 plus the number of the program
///     1024         values and flags that need a program
///     2048 + n     vertex attribute n; 2048 itself tells the number of vertices
///     8192         vertex data that is bound in pieces
///     16384        textures and storage buffers
///     20224        compute dispatch
///     20480        painter, the draw call
///
/// A polyp has no lock: all of it belongs to the render thread of its context. Its creator holds
/// it, and its GPU objects die only on that thread.
class POLYPIA_EXPORT Polyp : public Keel::MutableCacheable {
public:
    class Tentacle;
    template<int Key>
    class SpecializedTentacle;

    using TentaclePtr = Keel::StrongPtr<Tentacle, Tentacle>;
    using TentacleMap = std::multimap<int, TentaclePtr>;
    using Iterator = TentacleMap::const_iterator;
    using CompletionTask = std::function<bool(Polyp&, VRenderContext&)>;

    /// Keys of the classes of tentacles.
    static constexpr int TimerKey = -16384;
    static constexpr int ProgramKey = 0;
    static constexpr int LastProgramKey = 1023;
    static constexpr int ParameterKey = 1024;
    static constexpr int VertexAttributeKey = 2048;
    static constexpr int ChunkedDataKey = 8192;
    static constexpr int TextureKey = 16384;
    static constexpr int ComputeKey = 20224;
    static constexpr int PainterKey = 20480;

    /// Visitor of tentacles.
    class POLYPIA_EXPORT TentacleIterator {
    public:
        virtual ~TentacleIterator();
        /// False ends the walk.
        virtual bool apply(int key, const TentaclePtr& tentacle) = 0;
    };

    /// An empty polyp with the name "Polyp #" and a number of its own.
    explicit Polyp(const Keel::WeakPtr<Keel::Creature>& creator);
    ~Polyp() override;

    /// Sum of the sizes of all live tentacles, in bytes.
    std::size_t computeMemsize() const override;
    const std::type_info& DomainType() const override;

    /// Activates all tentacles in the order of their keys and deactivates them in reverse, once or,
    /// after prepareWave() has found data that must be bound in pieces, once for each piece.
    /// Returns the number of tentacles that were activated, summed over the pieces.
    ///
    /// The wave ends at the first tentacle that `activityMask & mask` leaves out or whose
    /// activate() returns false; what is active by then is deactivated. An exception passes through
    /// after the same; a RenderException is logged on its way.
    ///
    /// A tentacle may insert and erase tentacles while it is activated, itself included. What is
    /// active is deactivated all the same. What is inserted ahead of the tentacle that came next
    /// waits for another wave.
    int wave(Activity_t mask) const;
    /// The wave from an entry onwards, for a tentacle that waves the rest of its polyp itself.
    int waveTentacles(Iterator from, Activity_t mask) const;
    /// To be called after the last tentacle was inserted: reports the size to the cache, and works
    /// out how many vertices can be bound at a time, if there are tentacles at key 8192. A polyp
    /// for which nothing sensible comes out (no limit, no vertices, no bytes) is drawn in one pass.
    void prepareWave();
    /// Calls each task that waits for completion, in order of adding; a task that returns true has
    /// finished and goes. Returns their number. Tasks added meanwhile wait for the next call; when
    /// a task throws, it and all that did not finish stay.
    std::size_t complete(VRenderContext& context);
    void addCompletionTask(const CompletionTask& task);
    /// Has every tentacle refresh its data, in the order of keys. The first false ends the walk and
    /// is returned. A dead entry stops the process. A tentacle may insert and erase others
    /// meanwhile.
    bool updateValues(VRenderContext& context) const;

    /// Inserts as the last of the tentacles at `key`, and returns whether there was a tentacle to
    /// insert. Prints a warning if the number of elements does not fit those of its class.
    bool insertTentacle(int key, const TentaclePtr& tentacle);
    /// Inserts at the tentacle's own key plus `offset` and gives the pointer back; an empty one if
    /// there is no tentacle. The offset is the program number for programs and else 0.
    template<class T>
    Keel::StrongPtr<T, Tentacle> insert(const Keel::StrongPtr<T, Tentacle>& tentacle,
                                        int offset = 0);
    /// Removes the first entry of this tentacle, and returns whether there was one.
    bool eraseTentacle(const TentaclePtr& tentacle);
    /// Drops every tentacle; chunking and completion tasks stay.
    void clear() noexcept;
    bool empty() const noexcept { return tentacles.empty(); }

    /// The first number of elements that is not 0, of the live tentacles with keys between a and b,
    /// both included, in whichever order they are given; 0 if there is none.
    std::size_t NumberOfElements(int a, int b) const;
    /// Number of live tentacles with keys from a to b, both included, that `mask` selects.
    std::size_t NumberOfTentacles(int a, int b, unsigned long mask) const;
    /// The entries with keys from a to b, both included; dead ones too.
    std::pair<Iterator, Iterator> get_range(int a, int b) const;
    /// The entries with keys from 0 to 1023.
    std::pair<Iterator, Iterator> get_programs() const;
    /// Visits the live tentacles with keys from a to b, both included, in order. False from the
    /// visitor ends the walk; the result is how many visits returned true.
    std::size_t iterate(TentacleIterator& visitor, int a, int b) const;
    std::size_t iterate(const std::function<bool(int, const TentaclePtr&)>& visitor, int a,
                        int b) const;
    /// The first live program that `mask` selects. If there is none, but an entry behind the
    /// programs, a pointer to that entry, which tests false.
    Keel::StrongPtr<SpecializedTentacle<ProgramKey>, Tentacle> getProgram(unsigned long mask) const;
    /// The first entry from the timer's key onwards; tests false if it is no timer.
    Keel::StrongPtr<SpecializedTentacle<TimerKey>, Tentacle> getTimer() const;
    /// Always "Yet to be implemented....".
    std::string xml(const std::string& indent) const;

private:
    // The order of the fields is part of the interface; the completion tasks die ahead of the
    // tentacles.
    TentacleMap tentacles;

public:
    /// Vertices of a pass of a wave; 0 for a wave of one pass.
    std::uint32_t chunkElements = 0;
    /// Number of passes of a wave, as of the last time that chunkElements was above 0.
    std::uint32_t chunkCount = 0;
    /// The pass that is being run, for tentacles to read while they are activated.
    mutable std::uint32_t currentChunk = 0;
    /// Owned by the backend, but for the second: in it the context records for how many views the
    /// polyp was filled, to tell when that number has changed.
    mutable std::array<unsigned, 3> backendIntegers{0, 1, 1};

private:
    class Ahead;

    int wavePasses(Activity_t mask) const;
    int waveGroup(Ahead& ahead, Activity_t mask) const;
    static bool updateRest(Ahead& ahead, VRenderContext& context);
    void orderWave();
    void discardWaveOrder() noexcept;
    std::uint32_t greatestChunk(std::uint32_t vertices, std::size_t& widestBytes) const;

    std::forward_list<CompletionTask> completionTasks;
    // All entries in their order, then the end, from prepareWave() until the next change; else
    // empty. The number tells a wave that goes on whether the order is still the one it knows.
    std::vector<Iterator> waveOrder;
    std::uint64_t waveOrderChanges = 1;
    // The waves under way, each in what a tentacle of the one around it does; null for none.
    mutable Ahead* innermostWave = nullptr;
};

/// One piece of GPU state. Made and destroyed on the render thread, with the context current.
class POLYPIA_EXPORT Polyp::Tentacle : public Keel::ReferenceBase<Polyp::Tentacle> {
public:
    Tentacle(int key, unsigned long activity);
    ~Tentacle() override;

    // The order of the virtual operations is part of the interface.

    /// Refreshes the data from its source ahead of drawing; false if that cannot be had, which
    /// keeps the polyp from being drawn. By default does nothing and returns true.
    virtual bool updateValue(VRenderContext& context);
    /// Binds or performs. False ends the wave here, without a call of deactivate().
    virtual bool activate(const Polyp& polyp) = 0;
    /// Undoes activate(). The wave ignores the result.
    virtual bool deactivate(const Polyp& polyp) = 0;
    /// Bytes on the GPU. By default 0.
    virtual std::size_t memsize() const;
    /// Number of data elements. By default 0.
    virtual std::size_t NumberOfElements() const;
    /// -1, the default, for what is no texture.
    virtual int getTextureUnit() const;
    /// The backend's number for the type of the sampler; 0 by default.
    virtual int getSamplerType() const;

    /// The key of the class of the tentacle; its place in a polyp may differ.
    const std::int32_t tentacleKey;
    /// A wave passes this tentacle only if this and the mask of the wave have a bit in common.
    Activity_t activityMask;
    /// Granularities in elements or bytes that the border of a chunk has to respect. Unset but for
    /// the first `chunkDivisorCount`.
    std::array<std::uint32_t, 4> chunkDivisors;
    std::uint32_t chunkDivisorCount = 0;
    /// Bytes that may be bound at a time; 0 for no limit.
    std::uint32_t chunkLimit = 0;
};

/// Ties a family of tentacles to the key of its class.
template<int Key>
class POLYPIA_EXPORT Polyp::SpecializedTentacle : public Polyp::Tentacle {
public:
    explicit SpecializedTentacle(int offset = 0, unsigned long activity = ~0UL)
        : Tentacle(Key + offset, activity) {}
};

template<class T>
Keel::StrongPtr<T, Polyp::Tentacle> Polyp::insert(const Keel::StrongPtr<T, Tentacle>& tentacle,
                                                  int offset) {
    if (!tentacle || !insertTentacle(tentacle->tentacleKey + offset, tentacle)) return {};
    return tentacle;
}

static_assert(std::is_same_v<Keel::RootOf_t<Polyp>, Polyp::ReferenceRoot>);

} // namespace Mirk
