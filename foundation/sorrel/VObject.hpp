#pragma once
// The objects of the shell; stands on slots, states and requests.

#include <sorrel/VConnectable.hpp>
#include <sorrel/VRequest.hpp>

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace Mirk {

/// Visitor of the objects that serve an object's inputs.
class SORREL_EXPORT VObjectIterator {
public:
    virtual ~VObjectIterator();
    /// False ends the walk. No lock is held.
    virtual bool apply(const VObjectPtr& object) = 0;
};

/// An object of the shell: it has a name, inputs and outputs, a state for each pool, and is brought
/// up to date by requests. Derive virtually where several bases of an object are objects; there is
/// no default constructor, so that a class which forgets to name the object does not compile.
///
/// A new object belongs to whoever holds its StrongPtr; the shell holds what is announced by
/// VActionNotifier::VObjectCreation. Inputs keep the parameters alive that they are connected to,
/// not the objects behind them.
class SORREL_EXPORT VObject : public VManagedDomainObject<VObject>,
                              public VSlotContainer,
                              public virtual VManagedObjectBase,
                              public virtual VConnectable,
                              public virtual VStateCreatorBase,
                              public virtual VSaveable {
public:
    enum class HelpType { Short, Full };
    using PreferencesPtr = Keel::StrongPtr<VCreationPreferences, Keel::InterfaceBase>;

    /// `p` is the priority, `prefs` may be null.
    VObject(const std::string& objectName, int p, const PreferencesPtr& prefs);
    /// Disconnects the object.
    ~VObject() override;

    // The order of the virtual operations is part of the interface.

    /// Hook ahead of the end, see Keel::Countable. Does nothing.
    void beforeLastRelease() override;
    /// The object is complete: whoever reads its outputs is due.
    void published() override;
    /// Brings this object up to date. `requester` is the object that asks and `origin` the one that
    /// began; both may be empty. By default request.process(*this, precision).
    virtual void request(VRequest& request, double precision,
                         const Keel::WeakPtr<VManagedObjectBase>& requester,
                         const Keel::WeakPtr<VManagedObjectBase>& origin);
    /// Computes the outputs from the inputs, on the thread of the request, with the object's mutex
    /// held. False means failure. By default does nothing and returns true.
    virtual bool update(VRequest& request, double precision);
    /// Whether update() is due in the pool of the request. By default: there was no update yet, an
    /// input is younger than the last one, or an input was added, removed, connected or detached
    /// since. Inputs that requests pass over don't count.
    virtual bool must_update(const VRequest& request, double precision) const;
    /// The part of an update that needs no mutex, such as reading a file; called ahead of update(),
    /// which is left out if it returns false. By default does nothing and returns true.
    virtual bool unsychronized_update(VRequest& request, double precision);
    /// An icon for each of three user interfaces. None by default: null, null and "".
    virtual const unsigned char* gimp_icon() const;
    virtual const char* const* xpm_icon() const;
    virtual std::string qt_icon() const;
    /// What the object is for, as rich text; empty by default.
    virtual std::string help(HelpType type) const;
    /// A new object of the same kind; null, the default, if there can be none.
    virtual VObjectPtr copy() const;
    /// The name of the object's kind, under which a creator makes another; by default that of the
    /// creator that made it, or the name of the class.
    virtual std::string type_key() const;
    /// The name of a parameter of this object for others: "name.parameter".
    virtual std::string CreateParameterName(const std::string& parameterName) const;
    /// The input with the parameter `input` was connected to `output` of `source`. Does nothing by
    /// default.
    virtual void InputCreation(const VParameterPtr& input, const VObjectPtr& source,
                               const VParameterPtr& output);

    /// From now on requests call update(). To be called when the object is complete.
    void enableRequestProcessing() { _processesRequests.store(true); }
    bool processesRequests() const noexcept { return _processesRequests.load(); }

    /// Visits the objects that the inputs are connected to, in the order of the inputs, each once,
    /// and `depth` levels further up. Objects that aren't complete yet are passed over. False from
    /// the visit ends the walk; no lock is held. Returns how many were visited.
    std::size_t iterateParents(VObjectIterator& iterator, int depth) const;
    /// The same with the input through which the object was found.
    std::size_t iterateParents(const std::function<bool(const VObjectPtr&, const VSlot&)>& visit,
                               int depth) const;

    /// The one object with an output of a type. If there are several, those whose preferences fit
    /// `preferences` best are meant; if there is none and `create` is true, a creator of such
    /// inputs makes one; two threads at a time get the same. Null if there is no single one.
    /// `except` is left out; it may be null.
    static VObjectPtr findUniqueOutputObject(const std::type_info& type,
                                             const PreferencesPtr& preferences, bool create,
                                             const VObject* except);
    /// Makes an object and connects one of its outputs to an input of this object. `creatorName` is
    /// the name of the creator, optionally followed by the byte 0x1E and the name for the new
    /// object; without that the new object has the creator's name. The object is announced to the
    /// shell and set up; what that throws becomes a Warning. `context` goes to the creator. Returns
    /// a code of AttachErrorCode; an object that can't be connected is given up again.
    int attachNewObject(const VSlotPtr& slot, const std::string& creatorName,
                        const Keel::Intercube& context, const PreferencesPtr& preferences);

    const PreferencesPtr& preferences() const noexcept { return _preferences; }

    /// The name of the creator that made the object; "" if none did.
    std::string creatorName() const;
    void setCreatorName(const std::string& creator);

    /// Whether the last update in a pool failed, and why.
    bool hasFailed(const ValuePoolPtr& pool) const;
    std::string failureReason(const ValuePoolPtr& pool) const;

    VObject* asObject() noexcept override { return this; }
    void inputConnected(const VSlot& input, const VParameterPtr& output) override;

    /// Whether the object takes part in anything; the user interface switches it off.
    std::atomic<bool> active{true};

private:
    friend class RequestPlan;
    friend class VRequest;

    /// How the last update in a pool went.
    struct UpdateRecord {
        Keel::WeakPtr<ValuePool> pool;
        Keel::Ageable::Age age = Keel::Ageable::Ooooold;
        std::uint64_t changes = 0; // of ages, when it was found to be still the latest
        bool failed = false;
        std::string reason;
    };

    struct LastUpdate {
        Keel::Ageable::Age age = Keel::Ageable::Ooooold;
        std::uint64_t changes = 0;
        bool failed = false;
    };

    const UpdateRecord* findRecord(const ValuePoolPtr& pool) const;
    LastUpdate lastUpdate(const ValuePoolPtr& pool) const;
    void recordUpdate(const ValuePoolPtr& pool, Keel::Ageable::Age age, bool failed,
                      const std::string& reason);

    const PreferencesPtr _preferences;
    std::atomic<bool> _processesRequests{false};
    mutable Keel::SpinLock _recordLock; // leaf: guards what is below
    mutable UpdateRecord _latestUpdate;
    std::vector<UpdateRecord> _earlierUpdates; // in other pools
    std::string _creatorName;
};

} // namespace Mirk
