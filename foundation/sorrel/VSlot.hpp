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
    bool isConnected() const { return readBlock() != _own.controlBlock(); }

    /// The value that is read in a pool, see VParameter::getValue. Null if the slot has no live
    /// parameter.
    VValuePtr getValueBase(const ValuePoolPtr& pool) const {
        const VParameterPtr read = parameter();
        return read ? read->getValue(pool) : VValuePtr();
    }
    /// Age of what is read in a pool: of the value, of the connection, of the appearance or end of
    /// its source, whichever is the most recent. Makes no local value.
    Keel::Ageable::Age age(const ValuePoolPtr& pool) const;

    /// Whether the input plays no part in requests, see VSlotContainer::setIgnored.
    bool isIgnored() const noexcept { return _ignored.load(std::memory_order_relaxed); }

    /// The value type, or typeid(void) without parameter.
    const std::type_info& valueType() const;

    std::atomic<std::uint32_t> flags{GlobalFlag};

private:
    friend class VSlotContainer;

    bool reads(const VParameter& parameter) const {
        const std::lock_guard lock(_lock);
        return _parameter.controlBlock() == &parameter.controlBlock();
    }

    const Keel::ControlBlock* readBlock() const {
        const std::lock_guard lock(_lock);
        return _parameter.controlBlock();
    }

    /// A slot without parameter of its own that is connected from the start.
    struct Joined {};
    VSlot(Joined, const std::string& name, int expertLevel, const VParameterPtr& output);

    /// Connects to another parameter, or back to the slot's own (null), and stamps the connection.
    /// The container has to drop its table of inputs then.
    void connect(const VParameterPtr& parameter);

    const std::string _name;
    const int _expertLevel;
    const VParameterPtr _own;
    mutable Keel::SpinLock _lock; // leaf, even below the lock of the container
    VParameterPtr _parameter;
    std::atomic<Keel::Ageable::Age> _connectionAge{Keel::Ageable::Ooooold};
    std::atomic<bool> _ignored{false};
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
