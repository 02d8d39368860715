#pragma once
// The storage of the values of one context; stands on VValueBase.

#include <sorrel/VValueBase.hpp>

#include <keel/Interface.hpp>
#include <keel/SpinLock.hpp>

#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Mirk {

/// The local values of one viewer, request or script: each is the value of one parameter in this
/// pool, or of a named member of it. The pool owns them: they die with it, or with their parameter.
///
/// All operations may be called from any thread, also with `mutex` held.
class SORREL_EXPORT ValuePool : public Keel::ReferenceBase<ValuePool>, public Keel::Intercube {
public:
    ValuePool();
    ~ValuePool() override;

    /// Makes `value` the value of a parameter in this pool; if it has one already, that one stays.
    /// Returns the one that is there now. Null if the parameter is dead.
    VValuePtr createVariable(const Keel::WeakPtr<ValueNotifierList>& parameter,
                             const VValuePtr& value);
    /// The same for a named member of the parameter; "" is the parameter's own value.
    VValuePtr createVariable(const Keel::WeakPtr<ValueNotifierList>& parameter,
                             const std::string& member, const VValuePtr& value);
    /// The local value of a parameter of this name, the one that was made first; null if there is
    /// none. Looks through all values.
    VValuePtr retrieveValue(const std::string& parameterName) const;
    /// The local value of a parameter, or null.
    VValuePtr findValue(const ValueNotifierList& parameter) const;
    VValuePtr findValue(const ValueNotifierList& parameter, const std::string& member) const;
    /// All local values of a parameter, by member; "" is the parameter's own.
    std::vector<std::pair<std::string, VValuePtr>>
    findValues(const ValueNotifierList& parameter) const;
    /// Forgets all values of a parameter.
    void removeValues(const ValueNotifierList& parameter);
    std::size_t numberOfValues() const;

    /// For users of the pool, who guard with it what they put into its interfaces. Nothing in here
    /// takes it.
    mutable std::mutex mutex;

private:
    struct Variable {
        Keel::WeakPtr<ValueNotifierList> parameter; // keeps the block, which is the key
        std::uint64_t serial = 0;
        VValuePtr value;
        std::vector<std::pair<std::string, VValuePtr>> members;
    };

    static VValuePtr& memberOf(Variable& variable, const std::string& member);

    mutable Keel::SpinLock _tableLock; // leaf
    std::unordered_map<const Keel::ControlBlock*, Variable> _variables;
    std::uint64_t _lastSerial = 0;
};

/// A base of classes that own a pool.
class SORREL_EXPORT ValuePoolProvider {
public:
    /// With a pool of its own.
    ValuePoolProvider();
    explicit ValuePoolProvider(const ValuePoolPtr& pool);
    virtual ~ValuePoolProvider();

    const ValuePoolPtr& providedValuePool() const noexcept { return _pool; }

private:
    const ValuePoolPtr _pool;
};

} // namespace Mirk
