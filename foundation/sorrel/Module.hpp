#pragma once
// Shared libraries with creators and value types, loaded at run time; stands on creators.

#include <sorrel/VActionNotifier.hpp>
#include <sorrel/VCreatorBase.hpp>

#include <memory>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

namespace Mirk {

/// A loaded module. It registers what it has by static objects (CreatorRegistration,
/// ValueTypeRegistration), whose destructors take it back when it is unloaded, and has
/// POLYPIA_MODULE in one of its sources.
///
/// Unloading is refused while its code is in use: by an object of one of its classes; by a
/// parameter of any object, an input or output, that holds or could hold a value of one of its
/// types, and with it the values in pools, which die with their parameter; by somebody who holds
/// one of its creators. What else a module hands out is for it to take back: interfaces and
/// listeners that it adds to others, functions, and values that somebody holds by themselves.
///
/// All operations may be called from any thread; they wait for each other.
class SORREL_EXPORT Module {
public:
    using Ptr = std::shared_ptr<const Module>;

    /// Raised whenever a module that was built before can no longer be loaded.
    static constexpr int Interface = 1;

    struct Failure {
        std::string file;
        std::string reason;

        /// "file: reason".
        SORREL_EXPORT std::string str() const;
    };

    /// Loads a file; if it is loaded already, gives that module. Null, with the reason, if it is
    /// no module.
    static Ptr load(const std::string& path, std::string& reason);
    /// Loads all modules in some folders, those with names in ".so", in alphabetical order. What
    /// fails is told, and the rest is loaded. A module hides those of its file name in later
    /// folders. Libraries with a description beside them, NAME.reader, are left to the readers of
    /// files.
    static std::vector<Failure> loadFolders(const std::vector<std::string>& folders);
    /// The same for searchPath(); that the default folder does not exist is no failure.
    static std::vector<Failure> loadAll();
    /// The folders of POLYPIA_MODULE_PATH, a list parted by colons, and then the folder
    /// PolypiaModules next to this library.
    static std::vector<std::string> searchPath();
    /// What is loaded, in the order of loading.
    static std::vector<Ptr> loaded();

    /// Unloads a module. False, with the reason, if it is in use or not loaded; nothing has changed
    /// then. No other thread may be making objects by the module's creators of inputs.
    static bool unload(const Ptr& module, std::string& reason);

    const std::string& path() const noexcept { return _path; }
    /// The names of its creators, in alphabetical order.
    std::vector<std::string> creators() const;
    /// What uses its code, as words for the user; "" if nothing does.
    std::string usedBy() const;

    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

private:
    Module(const std::string& file, void* handle, const void* base)
        : _path(file), _handle(handle), _base(base) {}

    using WeakCreator = Keel::WeakPtr<VCreatorBase>;

    /// Whether an address lies in its code or data.
    bool contains(const void* address) const;
    bool contains(const std::type_info& type) const;
    /// Unregisters its creators, and tells which they were.
    std::vector<WeakCreator> hideCreators() const;
    std::string usedBy(const std::vector<WeakCreator>& creators) const;
    std::string usedBy(const VObject& object) const;
    bool uses(const VParameterPtr& parameter) const;
    static std::string holderText(const std::string& slot);
    /// False if the system keeps it.
    bool close() const;

    const std::string _path;
    mutable void* _handle;
    const void* const _base;
};

/// Registers a creator as long as this object lives: a static object of a library or module.
///
///     const CreatorRegistration<VCreator<LineSet>> lineSet("LineSet", "Display",
///                                                          VCreatorBase::PreferencesPtr());
///
/// A creator of inputs, VInputCreator, is registered for its type as well. A name that is taken is
/// a warning; the creator that has it stays.
template<class Creator>
class CreatorRegistration {
public:
    template<class... Arguments>
    explicit CreatorRegistration(Arguments&&... arguments)
        : _creator(new Creator(std::forward<Arguments>(arguments)...)) {
        bool isNew = VCreatorBase::registerCreator(Keel::WeakPtr<VCreatorBase>(_creator));
        if constexpr (ServesInputs) {
            isNew = registerVInput(Creator::inputType(), weakInputCreator()) && isNew;
        }
        if (!isNew)
            VActionNotifier::Warning("There is a creator of the name \"" + _creator->name() +
                                     "\" already, or it is of another version");
    }
    CreatorRegistration(const CreatorRegistration&) = delete;
    CreatorRegistration& operator=(const CreatorRegistration&) = delete;
    ~CreatorRegistration() {
        if constexpr (ServesInputs) unregisterVInput(Creator::inputType(), weakInputCreator());
        VCreatorBase::unregisterCreator(Keel::WeakPtr<VCreatorBase>(_creator));
    }

private:
    static constexpr bool ServesInputs = requires { Creator::inputType(); };

    Keel::WeakPtr<VInputCreatorBase, VCreatorBase> weakInputCreator() const {
        return Keel::WeakPtr<VInputCreatorBase, VCreatorBase>(_creator);
    }

    const Keel::StrongPtr<Creator, VCreatorBase> _creator;
};

} // namespace Mirk

/// Makes a shared library a module: once in it, outside of any namespace.
#define POLYPIA_MODULE                                                                             \
    extern "C" SORREL_EXPORT int polypiaModuleInterface();                                         \
    extern "C" int polypiaModuleInterface() {                                                      \
        return Mirk::Module::Interface;                                                            \
    }
