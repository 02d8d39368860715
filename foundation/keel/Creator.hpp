#pragma once
// Creators of cached objects of one class; stands on Creature.

#include <keel/Creature.hpp>

#include <mutex>
#include <typeinfo>

namespace Keel {

/// Abstract creator of a T.
template<class T>
class KEEL_EXPORT CreatorBase : public Creature {
public:
    /// Replaces the production of the object from outside: put one into the creator's own table of
    /// interfaces.
    class KEEL_EXPORT Producer : public Interface<Producer> {
    public:
        virtual StrongPtr<T, Cacheable> value() = 0;
        virtual unsigned long long cost() const = 0;
        virtual std::string name() const = 0;
        virtual bool assign(const StrongPtr<T, Cacheable>& object) = 0;
    };

    using Creature::Creature;

    // The order of the virtual operations, with those of Creature, is part of the interface.

    /// The four operations of the Producer if there is one; empty results otherwise.
    virtual StrongPtr<T, Cacheable> producerValue() {
        const auto found = producer();
        return found ? found->value() : StrongPtr<T, Cacheable>();
    }
    virtual void discardCreation() { Creature::discardCreation(); }
    virtual unsigned long long producerCost() const {
        const auto found = producer();
        return found ? found->cost() : 0;
    }
    virtual std::string producerName() const {
        const auto found = producer();
        return found ? found->name() : std::string();
    }
    virtual bool producerAssign(const StrongPtr<T, Cacheable>& object) {
        const auto found = producer();
        return found && found->assign(object);
    }

    /// Dynamic type of the object; typeid(std::nullptr_t) if there is none, typeid(void) if it has
    /// died.
    virtual const std::type_info& getDataType() const = 0;
    /// Makes a new object, in place of the present one, and returns it.
    virtual StrongPtr<T, Cacheable> create() = 0;
    /// The object, which counts as used by this, or an empty pointer.
    virtual StrongPtr<T, Cacheable> getPolyp() const = 0;
    /// Takes the object away from the creator, which is empty then. No count changes.
    virtual StrongPtr<T, Cacheable> releasePolyp() = 0;

private:
    StrongPtr<Producer, InterfaceBase> producer() const {
        return this->template findInterface<Producer>();
    }
};

/// Holds the object, and keeps it when the cache is short of room. Any thread may ask for the
/// object or take it away.
template<class T, class Base = CreatorBase<T>>
class KEEL_EXPORT Creator : public Base {
public:
    explicit Creator(const WeakPtr<Cache, CacheBase>& cache,
                     const StrongPtr<T, Cacheable>& object = {})
        : Base(cache), _object(object) {
        if (_object) _object->setCreator(*this);
    }
    ~Creator() override { disown(take()); }

    bool forget() override { return false; }
    StrongPtr<Cacheable> get() const override { return getPolyp(); }
    bool hasData() const override {
        const std::lock_guard lock(_mutex);
        return bool(_object);
    }
    const std::type_info& getDataType() const override {
        const std::lock_guard lock(_mutex);
        return _object.dynamicType();
    }
    StrongPtr<T, Cacheable> getPolyp() const override {
        StrongPtr<T, Cacheable> object;
        {
            const std::lock_guard lock(_mutex);
            object = _object;
        }
        if (object) object->markAsUsed();
        return object;
    }
    StrongPtr<T, Cacheable> releasePolyp() override { return disown(take()); }

protected:
    /// Puts an object in place of the present one, which is given up, and makes it this creator's.
    void store(const StrongPtr<T, Cacheable>& object) {
        if (object) object->setCreator(*this);
        StrongPtr<T, Cacheable> old = object;
        {
            const std::lock_guard lock(_mutex);
            _object.swap(old);
        }
        if (!(old == object)) disown(std::move(old));
    }

private:
    StrongPtr<T, Cacheable> take() {
        StrongPtr<T, Cacheable> object;
        const std::lock_guard lock(_mutex);
        _object.swap(object);
        return object;
    }
    // An object that was given up may live on for a while; when it is evicted then, this creator
    // must not be asked to forget what it has made since.
    static StrongPtr<T, Cacheable> disown(StrongPtr<T, Cacheable> object) {
        if (object) object->setCreator({});
        return object;
    }

    mutable std::mutex _mutex; // guards _object, and nothing is called with it
    StrongPtr<T, Cacheable> _object;
};

/// A creator that forgets: the cache may have its object, which is then made anew when it is asked
/// for again.
template<class T, class Base = CreatorBase<T>>
class KEEL_EXPORT AlzheimerCreator : public Creator<T, Base> {
public:
    using Creator<T, Base>::Creator;

    bool forget() override { return bool(this->releasePolyp()); }
};

} // namespace Keel
