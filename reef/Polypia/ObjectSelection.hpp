#pragma once
// A group of objects in layers; stands on the object model.

#include <Polypia/export.hpp>
#include <Polypia/fwd.hpp>

#include <sorrel/VManagedObject.hpp>

#include <keel/WeakPtr.hpp>

#include <atomic>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <vector>

namespace Mirk {

/// Weak references to objects, ordered by layer and, within a layer, by insertion. Whoever reads
/// passes over references that have died.
///
/// All operations may be called from any thread. Copies share their entries until one of them is
/// changed, so that a copy costs next to nothing.
class POLYPIA_EXPORT ObjectSelection {
public:
    using WeakObject = Keel::WeakPtr<VObject, VManagedObjectBase>;
    using Filter = std::function<bool(const WeakObject&)>;
    using Visitor = std::function<bool(int layer, const WeakObject& object)>;
    /// An object that can be drawn, and its layer.
    struct Drawable {
        int layer;
        Keel::WeakPtr<RenderAble, VManagedObjectBase> object;
        bool isLight; ///< is a VLightSource
    };
    using Drawables = std::vector<Drawable>;

    ObjectSelection() noexcept;
    ObjectSelection(const ObjectSelection& source) noexcept;
    /// The entries of layers from `first` to `last`, both included, that are alive and that the
    /// filter accepts. The filter runs under the lock of the source.
    ObjectSelection(const ObjectSelection& source, int first, int last, const Filter& filter);
    ObjectSelection& operator=(const ObjectSelection& source) noexcept;
    ~ObjectSelection();

    void clear() noexcept;
    /// Dead references count as well.
    std::size_t NumberOfObjects() const noexcept;
    /// Inserts behind the entries of the same layer. A dead or empty reference is ignored.
    void insert(int layer, const WeakObject& object) noexcept;
    ObjectSelection copy() const noexcept;
    /// Whether the layers and the objects behind the references are the same, entry by entry.
    bool operator==(const ObjectSelection& other) const noexcept;

    /// Visits the entries in order until false. The lock is held for reading: a visitor must not
    /// change this selection, nor ask it anything. An empty visitor throws std::bad_function_call
    /// at the first entry.
    void iterate(const Visitor& visit) const;
    /// The same for the layers from `first` to `last`, both included.
    void iterate(int first, int last, const Visitor& visit) const;
    /// The objects that are a RenderAble, in order, as they are now, without those whose
    /// construction has not ended yet: for walks in each frame, which hold no lock. To find out
    /// what an object is takes longer than to look at it, so that this is done once for a selection
    /// and its copies, until it is changed. Never null.
    std::shared_ptr<const Drawables> drawables() const;
    /// How many of the drawables() are a VLightSource that is visible in the pool of the context.
    int getNumberOfActiveLightSources(const VRenderContext& context) const;

private:
    struct Objects;
    using Shared = std::shared_ptr<const Objects>;

    /// The entries as they are now, for others to keep.
    Shared snapshot() const noexcept;

    // Null if there is none. Written in place only until a snapshot was given away.
    std::shared_ptr<Objects> _objects;
    mutable std::atomic<bool> _isShared{false};
    mutable std::shared_mutex _lock;
};

} // namespace Mirk
