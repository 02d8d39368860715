#pragma once
// Objects with named inputs and outputs; stands on VManagedObject and VSlot.

#include <sorrel/VManagedObject.hpp>
#include <sorrel/VSlot.hpp>
#include <sorrel/VStateCreatorBase.hpp>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <typeinfo>
#include <unordered_map>
#include <vector>

namespace Mirk {

/// What became of an attempt to connect; what is negative has failed and left the slot as it was.
enum AttachErrorCode : int {
    Attached = 0,
    /// It was connected so already.
    AlreadyAttached = 1,
    NoObject = -1,
    SeveralObjects = -2,
    NoSlot = -3,
    NoSuchOutput = -4,
    WrongType = -5,
    Refused = -6,
    NoCreator = -7,
    CreationFailed = -8
};

/// Functions that have a say in what an object's inputs are connected to.
class SORREL_EXPORT VConnectionValidatorList {
public:
    using Validator = std::function<bool(const VSlot&, const VParameter&)>;

    VConnectionValidatorList();
    virtual ~VConnectionValidatorList();

    /// A validator that returns false refuses the connection of that slot to that parameter.
    void addConnectionValidator(Validator validator);
    bool validConnection(const VSlot& slot, const VParameter& parameter) const;

private:
    mutable std::mutex _validatorMutex; // leaf
    std::vector<std::shared_ptr<const Validator>> _validators;
};

/// Visitor of outputs.
class SORREL_EXPORT VOutputIterator {
public:
    virtual ~VOutputIterator();
    /// False ends the walk. No lock is held.
    virtual bool apply(const VSlotPtr& output, const std::string& name) = 0;
};

/// Holds the slots of an object, inputs and outputs, in the order in which they were added.
///
/// Connecting an input makes its slot share the parameter of an output. The input keeps that
/// parameter and its last values alive, not the object behind it; when that object goes, the
/// values stay readable.
///
/// All operations may be called from any thread, but for the construction.
class SORREL_EXPORT VSlotContainer : public virtual VManagedObjectBase,
                                     public VConnectionValidatorList,
                                     public ValueCacheable {
public:
    using SetupFunction = std::function<void(const VSlotSet&)>;

    VSlotContainer();
    /// The outputs lose their source, which makes whoever reads them due.
    ~VSlotContainer() override;

    /// Adds an input. `connected` says that the parameter is an output of another object, to which
    /// the input is connected from the start; else it is the input's own. If there is an input of
    /// that name, the new one gets "#2", "#3" and so on appended. If an input was made for that
    /// output already and is connected to it, that one is returned, whatever its name.
    VSlotPtr addParameter(const std::string& name, int expertLevel, const VParameterPtr& parameter,
                          bool connected);
    /// Takes an input away; false if there is none of that name.
    bool removeParameter(const std::string& name);
    /// Adds an output under a name, and makes this object its source.
    VSlotPtr registerOutput(const VParameterPtr& parameter, const std::string& name);
    void registerOutput(const VSlotPtr& output);

    /// The input or the output of a name, or null.
    VSlotPtr findInput(const std::string& name) const;
    VSlotPtr findOutput(const std::string& name) const;
    std::vector<VSlotPtr> inputs() const;
    std::vector<VSlotPtr> outputs() const;
    std::size_t numberOfInputs() const;

    /// Connects an input to the parameter of an output. `name` names the new connection for
    /// validators and the user interface; it may be empty.
    AttachErrorCode attachParameter(const VParameterPtr& output, const Keel::WeakPtr<VSlot>& input,
                                    const std::string& name);
    /// Connects the input that has `input` as its own or its present parameter.
    AttachErrorCode attach(const VParameterPtr& input, const VParameterPtr& output,
                           const std::string& name);
    /// Gives an input its own parameter back. False if it was not connected. An input that was made
    /// for its connection is taken away.
    bool detach(const VSlotPtr& input);
    /// Detaches all inputs.
    void detachAll();
    /// A readable reason for a code.
    static std::string AttachErrorCodeMessage(AttachErrorCode code);
    /// Whether an input may be connected to a parameter: values of the same type, and no validator
    /// that refuses.
    bool allowParameterReplacement(const VSlotPtr& input, const VParameterPtr& replacement) const;
    /// Connects each input that isn't connected to the output of `source` with the same name and
    /// type; if there is none, to the only output of its type. Returns how many were connected.
    int connectSlots(const Keel::StrongPtr<VSlotContainer, VManagedObjectBase>& source);

    /// Adds a function that setup() calls. After setup() has run, it is called at once.
    void addSetup(SetupFunction function);
    /// Runs the functions of addSetup() in their order, once in the life of the object, after its
    /// connections were made or restored. `connected` are the inputs that are connected already.
    /// What a function throws passes through when all have run, of several the first.
    void setup(const VSlotSet& connected);

    /// Whether there is an output of a value type.
    bool implements(const std::type_info& type) const;
    /// An ignored input plays no part in requests: its source isn't asked, and its age makes
    /// nothing due.
    void setIgnored(const VSlotPtr& input, bool ignored);
    /// Whether requests pass over an input.
    bool ignoreInput(const VSlotPtr& input) const;
    /// Visits the outputs of a value type; of all, for typeid(void).
    void iterateOutputs(VOutputIterator& iterator, const std::type_info& type) const;
    /// The parameter of the first output of a value type that has the given name; an empty name
    /// fits all. `member` asks that its value has such a component; null if there is none.
    virtual VParameterPtr getImplementation(const std::type_info& type, const std::string& name,
                                            const std::string& member) const;
    /// The same for the slot of the output.
    virtual VSlotPtr getImplementationSlot(const std::type_info& type, const std::string& name,
                                           const std::string& member) const;

    /// Age of the last time that an input was added, removed, connected or detached.
    Keel::Ageable::Age connectionAge() const noexcept { return _connectionAge.load(); }

    /// This as an object of the shell; null, the default, for a container that is none.
    virtual VObject* asObject() noexcept;
    /// An input was connected to an output. Does nothing by default.
    virtual void inputConnected(const VSlot& input, const VParameterPtr& output);

    void published() override;

    /// The inputs in their order, and what they read.
    struct Input {
        VSlot* slot;
        VParameter* parameter; // null if there is none
        bool ignored;
    };
    struct InputSnapshot {
        std::vector<Input> inputs;
        // These keep alive what is pointed to.
        std::vector<VSlotPtr> slots;
        std::vector<VParameterPtr> parameters;
    };
    using InputTable = std::shared_ptr<const InputSnapshot>;

    /// The inputs as they are now; shared by all who ask until one is added, removed, connected or
    /// detached.
    InputTable inputTable() const;
    /// Whether what any input reads in a pool is younger than an age; ignored inputs don't count.
    bool hasYoungerInput(const ValuePoolPtr& pool, Keel::Ageable::Age age) const;

private:
    struct Output {
        std::string name;
        VSlotPtr slot;
    };
    using Inputs = std::map<std::uint64_t, VSlotPtr>;

    std::vector<Output> copyOutputs() const;
    VSlotPtr findJoined(const VParameter& output) const;
    void noteJoined(const VSlotPtr& slot, const VParameterPtr& output);
    std::string uniqueName(const std::string& slotName);
    bool owns(const VSlotPtr& input) const;

    /// To be called after each change of what the inputs are or read.
    void dropInputTable();

    std::atomic<Keel::Ageable::Age> _connectionAge{Keel::Ageable::Ooooold};
    mutable InputTable _inputTable;    // null after each change
    mutable Keel::SpinLock _tableLock; // leaf, even below _slotMutex: guards _inputTable
    mutable std::mutex _slotMutex;     // leaf: guards what is below
    Inputs _inputs;
    std::unordered_map<std::string, std::uint64_t> _inputPlaces;
    std::unordered_map<std::string, unsigned> _lastNumbers; // given to a name that was taken
    // Inputs that were made for an output, by its block; a hint that is checked before use.
    std::unordered_map<const Keel::ControlBlock*, std::uint64_t> _joinedPlaces;
    std::uint64_t _lastPlace = 0;
    std::vector<Output> _outputs;
    std::vector<SetupFunction> _setups;
    bool _isSetUp = false;
};

} // namespace Mirk
