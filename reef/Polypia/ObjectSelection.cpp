#include <Polypia/ObjectSelection.hpp>

#include <Polypia/RenderAble.hpp>
#include <Polypia/VLightSource.hpp>
#include <Polypia/VRenderContext.hpp>

#include <algorithm>
#include <mutex>
#include <utility>

namespace Mirk {

struct ObjectSelection::Objects {
    Objects() = default;
    Objects(const Objects& other) : entries(other.entries) {}
    Objects& operator=(const Objects&) = delete;

    std::multimap<int, WeakObject> entries;
    mutable std::mutex drawablesMutex; // leaf: guards drawables
    mutable std::shared_ptr<const Drawables> drawables;
};

ObjectSelection::ObjectSelection() noexcept = default;
ObjectSelection::~ObjectSelection() = default;

ObjectSelection::ObjectSelection(const ObjectSelection& source) noexcept
    : _objects(std::const_pointer_cast<Objects>(source.snapshot())), _isShared(true) {}

ObjectSelection::ObjectSelection(const ObjectSelection& source, int first, int last,
                                 const Filter& filter) {
    auto selected = std::make_shared<Objects>();
    source.iterate(first, last, [&](int layer, const WeakObject& object) {
        if (object && filter(object))
            selected->entries.emplace_hint(selected->entries.end(), layer, object);
        return true;
    });
    _objects = std::move(selected);
}

ObjectSelection& ObjectSelection::operator=(const ObjectSelection& source) noexcept {
    if (this == &source) return *this;
    // One lock after the other: two selections may be assigned to each other at the same time.
    auto objects = std::const_pointer_cast<Objects>(source.snapshot());
    const std::lock_guard lock(_lock);
    _objects.swap(objects);
    _isShared.store(true);
    return *this;
}

void ObjectSelection::clear() noexcept {
    std::shared_ptr<Objects> old;
    const std::lock_guard lock(_lock);
    _objects.swap(old);
    _isShared.store(false);
}

std::size_t ObjectSelection::NumberOfObjects() const noexcept {
    const std::shared_lock lock(_lock);
    return _objects ? _objects->entries.size() : 0;
}

void ObjectSelection::insert(int layer, const WeakObject& object) noexcept {
    if (!object) return;
    std::shared_ptr<Objects> old;
    const std::lock_guard lock(_lock);
    if (!_objects || _isShared.load()) {
        old = _objects;
        _objects = old ? std::make_shared<Objects>(*old) : std::make_shared<Objects>();
        _isShared.store(false);
    }
    _objects->entries.emplace(layer, object);
}

ObjectSelection ObjectSelection::copy() const noexcept {
    return *this;
}

bool ObjectSelection::operator==(const ObjectSelection& other) const noexcept {
    const Shared mine = snapshot();
    const Shared others = other.snapshot();
    if (mine == others) return true;
    const std::size_t size = mine ? mine->entries.size() : 0;
    if (size != (others ? others->entries.size() : 0)) return false;
    return size == 0 ||
           std::equal(mine->entries.begin(), mine->entries.end(), others->entries.begin());
}

void ObjectSelection::iterate(const Visitor& visit) const {
    const std::shared_lock lock(_lock);
    if (!_objects) return;
    for (const auto& [layer, object] : _objects->entries) {
        if (!visit(layer, object)) return;
    }
}

void ObjectSelection::iterate(int first, int last, const Visitor& visit) const {
    if (first > last) return;
    const std::shared_lock lock(_lock);
    if (!_objects) return;
    const auto end = _objects->entries.upper_bound(last);
    for (auto entry = _objects->entries.lower_bound(first); entry != end; ++entry) {
        if (!visit(entry->first, entry->second)) return;
    }
}

std::shared_ptr<const ObjectSelection::Drawables> ObjectSelection::drawables() const {
    static const auto none = std::make_shared<const Drawables>();
    // From the snapshot on, the entries are constant.
    const Shared objects = snapshot();
    if (!objects) return none;
    {
        const std::lock_guard lock(objects->drawablesMutex);
        if (objects->drawables) return objects->drawables;
    }
    const auto found = std::make_shared<Drawables>();
    bool isComplete = true;
    for (const auto& [layer, object] : objects->entries) {
        const VObjectPtr live(object);
        if (!live) continue;
        // What an object is can't be told before its construction has ended.
        if (!live->isPublished()) {
            isComplete = false;
            continue;
        }
        const Keel::StrongPtr<RenderAble, VManagedObjectBase> drawable(live);
        if (!drawable) continue;
        const bool isLight = dynamic_cast<const VLightSource*>(drawable.get()) != nullptr;
        found->push_back({layer, drawable, isLight});
    }
    if (!isComplete) return found;
    const std::lock_guard lock(objects->drawablesMutex);
    if (!objects->drawables) objects->drawables = found;
    return objects->drawables;
}

int ObjectSelection::getNumberOfActiveLightSources(const VRenderContext& context) const {
    const auto all = drawables();
    return static_cast<int>(std::count_if(all->begin(), all->end(), [&](const Drawable& drawable) {
        if (!drawable.isLight) return false;
        const Keel::StrongPtr<RenderAble, VManagedObjectBase> light(drawable.object);
        return light && light->isVisible(context.pool);
    }));
}

ObjectSelection::Shared ObjectSelection::snapshot() const noexcept {
    const std::shared_lock lock(_lock);
    if (_objects) _isShared.store(true);
    return _objects;
}

} // namespace Mirk
