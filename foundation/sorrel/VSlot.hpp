#pragma once
// An object's handle on a parameter; stands on VParameter.

#include <sorrel/VParameter.hpp>

#include <keel/SpinLock.hpp>

#include <atomic>
#include <string>

namespace Mirk {

/// A parameter as one object sees it: its input under a name, which starts with a parameter of its
/// own and may be connected to the output of another object; or its output.
///
/// All operations may be called from any thread.
class SORREL_EXPORT VSlot : public Keel::ReferenceBase<VSlot> {
public:
    /// Lowest bit of the flag word. It is cleared for a slot whose values are meant to be one for
    /// each pool.
    static constexpr std::uint32_t GlobalFlag = 1;

    /// A slot over its own parameter.
    VSlot(const std::string& name, int expertLevel, const VParameterPtr& parameter);
    ~VSlot() override;

    const std::string& Name() const noexcept { return _name; }
    /// 0 for every user; greater levels are for those who know more.
    int expertLevel() const noexcept { return _expertLevel; }

    /// The parameter that is connected, or the slot's own one.
    VParameterPtr parameter() const {
        const std::lock_guard lock(_lock);
        return _parameter;
    }
    /// The parameter that the slot has when it isn't connected; null for an input that was made
    /// for a connection and never had one.
    const VParameterPtr& ownParameter() const noexcept { return _own; }
    bool isConnected() const { return !(parameter() == _own); }

    /// The value that is read in a pool, see VParameter::getValue. Null if the slot has no live
    /// parameter.
    VValuePtr getValueBase(const ValuePoolPtr& pool) const {
        const VParameterPtr read = parameter();
        return read ? read->getValue(pool) : VValuePtr();
    }
    /// Age of what is read in a pool: of the value, of the connection, of the appearance or end of
    /// its source, whichever is the most recent. Makes no local value.
    Keel::Ageable::Age age(const ValuePoolPtr& pool) const;

    /// An ignored input plays no part in requests: its source isn't asked, its age makes nothing
    /// due.
    void setIgnored(bool ignored);
    bool isIgnored() const noexcept { return _ignored.load(std::memory_order_relaxed); }

    /// Has the processor fetch what age() reads, for those who are about to ask many slots.
    void prefetch() const noexcept {
        __builtin_prefetch(_fetchFirst.load(std::memory_order_relaxed));
        __builtin_prefetch(_fetchSecond.load(std::memory_order_relaxed));
    }

    /// The value type, or typeid(void) without parameter.
    const std::type_info& valueType() const;

    std::atomic<std::uint32_t> flags{GlobalFlag};

private:
    friend class VSlotContainer;

    void setPresent(const VParameterPtr& parameter);
    bool reads(const VParameter& parameter) const {
        const std::lock_guard lock(_lock);
        return _present == &parameter;
    }

    const Keel::ControlBlock* readBlock() const {
        const std::lock_guard lock(_lock);
        return _parameter.controlBlock();
    }

    /// A slot without parameter of its own that is connected from the start.
    struct Joined {};
    VSlot(Joined, const std::string& name, int expertLevel, const VParameterPtr& output);

    /// Connects to another parameter, or back to the slot's own (null), and stamps the connection.
    void connect(const VParameterPtr& parameter);

    // What age() reads comes first, so that it lies together.
    std::atomic<Keel::Ageable::Age> _connectionAge{Keel::Ageable::Ooooold};
    mutable Keel::SpinLock _lock; // leaf, even below the lock of the container: guards what is read
    std::atomic<bool> _ignored{false};
    const VParameter* _present; // of _parameter, for looks that take no reference
    // Addresses in the parameter and of its global age. Never read from: they may be outdated.
    std::atomic<const void*> _fetchFirst{nullptr};
    std::atomic<const void*> _fetchSecond{nullptr};
    VParameterPtr _parameter;
    const VParameterPtr _own;
    const std::string _name;
    const int _expertLevel;
};

/// A set of slots, such as those that were connected when an object was restored.
class SORREL_EXPORT VSlotSet {
public:
    void insert(const VSlotPtr& slot);
    bool contains(const VSlotPtr& slot) const;
    std::size_t size() const noexcept { return _slots.size(); }
    bool empty() const noexcept { return _slots.empty(); }

private:
    std::vector<VSlotPtr> _slots;
};

} // namespace Mirk
