#include <sorrel/Module.hpp>

#include <keel/Environment.hpp>
#include <keel/Typename.hpp>

#include <dlfcn.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <mutex>
#include <set>
#include <system_error>
#include <typeinfo>

namespace Mirk {

namespace {

namespace fs = std::filesystem;

/// Never destroyed: modules stay loaded to the very end.
struct Modules {
    /// Held while a module is loaded, whose static objects may load another.
    std::recursive_mutex mutex;
    std::vector<Module::Ptr> loaded;
};

Modules& theModules() {
    static Modules& instance = *new Modules;
    return instance;
}

const void* baseOf(const void* address) {
    Dl_info library{};
    return dladdr(address, &library) != 0 ? library.dli_fbase : nullptr;
}

/// The class of an object, of which the argument may be a base.
template<class T>
const std::type_info& classOf(const T& object) {
    return typeid(object);
}

std::string lastLoaderError() {
    const char* const error = dlerror();
    return error != nullptr ? error : "unknown error";
}

/// Visits objects until one of them has something to say.
class UseFinder : public VManagedObjectIterator {
public:
    explicit UseFinder(std::function<std::string(const VObject&)> ask) : _ask(std::move(ask)) {}

    bool apply(const VManagedObjectPtr& found) override {
        const VObjectPtr object(found);
        if (object) use = _ask(*object);
        return use.empty();
    }

    std::string use;

private:
    const std::function<std::string(const VObject&)> _ask;
};

/// Looks for objects of any kind whose class is one of those.
class ClassFinder : public VManagedObjectIterator {
public:
    explicit ClassFinder(std::function<bool(const std::type_info&)> isMeant)
        : _isMeant(std::move(isMeant)) {}

    bool apply(const VManagedObjectPtr& found) override {
        const VManagedObjectBase& object = *found;
        const std::type_info& type = typeid(object);
        if (!_isMeant(type)) return true;
        use = "an object of type \"" + Keel::Typename(type) + "\" lives";
        return false;
    }

    std::string use;

private:
    const std::function<bool(const std::type_info&)> _isMeant;
};

std::vector<fs::path> librariesIn(const fs::path& folder, std::error_code& error) {
    std::vector<fs::path> libraries;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        const fs::path& file = entry->path();
        if (file.extension() != ".so") continue;
        if (!fs::exists(fs::path(file).replace_extension(".reader"))) libraries.push_back(file);
    }
    std::sort(libraries.begin(), libraries.end());
    return libraries;
}

/// The folder PolypiaModules next to this library, "" if it has no place.
std::string defaultFolder() {
    Dl_info library{};
    const auto* const here = reinterpret_cast<const void*>(&defaultFolder);
    if (dladdr(here, &library) == 0 || library.dli_fname == nullptr) return {};
    return (fs::path(library.dli_fname).parent_path() / "PolypiaModules").string();
}

std::vector<std::string> givenFolders() {
    std::vector<std::string> folders;
    const std::string list = Keel::getEnvString(
        "POLYPIA_MODULE_PATH", "folders with modules, parted by colons, searched before ours");
    for (std::size_t begin = 0; begin <= list.size();) {
        const std::size_t end = std::min(list.find(':', begin), list.size());
        if (end > begin) folders.push_back(list.substr(begin, end - begin));
        begin = end + 1;
    }
    return folders;
}

} // namespace

std::string Module::Failure::str() const {
    return file + ": " + reason;
}

Module::Ptr Module::load(const std::string& path, std::string& reason) {
    Modules& modules = theModules();
    const std::lock_guard lock(modules.mutex);
    std::error_code error;
    // By its full name: a bare one would be looked for in the folders of the system.
    const fs::path file = fs::canonical(path, error);
    if (error) {
        reason = error.message();
        return {};
    }
    void* const handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        reason = "this can't be loaded: " + lastLoaderError();
        return {};
    }
    for (const Ptr& module : modules.loaded) {
        if (module->_handle != handle) continue;
        dlclose(handle);
        return module;
    }
    void* const symbol = dlsym(handle, "polypiaModuleInterface");
    const auto interface = reinterpret_cast<int (*)()>(symbol);
    const int built = interface != nullptr ? interface() : 0;
    if (built != Interface) {
        reason = interface == nullptr
                     ? "this is no module: expected POLYPIA_MODULE in it"
                     : "this module was built for another version of the library: expected " +
                           std::to_string(Interface) + ", got " + std::to_string(built);
        dlclose(handle);
        return {};
    }
    const Ptr module(new Module(file.string(), handle, baseOf(symbol)));
    modules.loaded.push_back(module);
    return module;
}

std::vector<Module::Failure> Module::loadFolders(const std::vector<std::string>& folders) {
    std::vector<Failure> failures;
    std::set<std::string> names;
    for (const std::string& folder : folders) {
        std::error_code error;
        for (const fs::path& file : librariesIn(folder, error)) {
            if (!names.insert(file.filename().string()).second) continue;
            std::string reason;
            if (!load(file.string(), reason)) failures.push_back({file.string(), reason});
        }
        if (error) failures.push_back({folder, "this folder can't be read: " + error.message()});
    }
    return failures;
}

std::vector<Module::Failure> Module::loadAll() {
    std::vector<std::string> folders = searchPath();
    std::error_code ignored;
    if (!fs::exists(folders.back(), ignored)) folders.pop_back();
    return loadFolders(folders);
}

std::vector<std::string> Module::searchPath() {
    std::vector<std::string> folders = givenFolders();
    folders.push_back(defaultFolder());
    return folders;
}

std::vector<Module::Ptr> Module::loaded() {
    Modules& modules = theModules();
    const std::lock_guard lock(modules.mutex);
    return modules.loaded;
}

bool Module::unload(const Ptr& module, std::string& reason) {
    Modules& modules = theModules();
    const std::lock_guard lock(modules.mutex);
    const auto found = std::find(modules.loaded.begin(), modules.loaded.end(), module);
    if (found == modules.loaded.end()) {
        reason = "it is not loaded";
        return false;
    }
    // Nobody finds the creators from here on, so that no object can come after they were counted.
    const std::vector<WeakCreator> hidden = module->hideCreators();
    reason = module->usedBy(hidden);
    if (reason.empty()) {
        if (module->close()) {
            modules.loaded.erase(found);
            return true;
        }
        reason = "the system keeps it loaded, as somebody else has opened it, or as it has unique "
                 "symbols (GCC's option -fno-gnu-unique avoids them)";
    }
    for (const WeakCreator& creator : hidden) VCreatorBase::registerCreator(creator);
    return false;
}

std::vector<std::string> Module::creators() const {
    std::vector<std::string> names;
    for (const auto& creator : VCreatorBase::creators()) {
        if (contains(classOf(*creator))) names.push_back(creator->name());
    }
    return names;
}

std::string Module::usedBy() const {
    std::vector<WeakCreator> known;
    for (const auto& creator : VCreatorBase::creators()) {
        if (contains(classOf(*creator))) known.emplace_back(creator);
    }
    return usedBy(known);
}

bool Module::contains(const void* address) const {
    return baseOf(address) == _base;
}

bool Module::contains(const std::type_info& type) const {
    return contains(static_cast<const void*>(&type));
}

std::vector<Module::WeakCreator> Module::hideCreators() const {
    std::vector<WeakCreator> hidden;
    for (const auto& creator : VCreatorBase::creators()) {
        if (!contains(classOf(*creator))) continue;
        hidden.emplace_back(creator);
        VCreatorBase::unregisterCreator(hidden.back());
    }
    return hidden;
}

std::string Module::usedBy(const std::vector<WeakCreator>& creators) const {
    UseFinder finder([this](const VObject& object) { return usedBy(object); });
    VManagedObject::traverse(typeid(VObject), finder);
    if (!finder.use.empty()) return finder.use;
    ClassFinder objects([this](const std::type_info& type) { return contains(type); });
    VManagedObject::traverseAll(objects);
    if (!objects.use.empty()) return objects.use;
    for (const WeakCreator& creator : creators) {
        const Keel::StrongPtr<VCreatorBase> live(creator);
        // One reference is the module's own, and one is ours.
        if (live && live->controlBlock().strong() > 2)
            return "the creator \"" + live->name() + "\" is in use";
    }
    return {};
}

std::string Module::usedBy(const VObject& object) const {
    if (contains(classOf(object)))
        return "the object \"" + object.Name() + "\" of type \"" + object.type_key() + "\" lives";
    const auto placeOf = [&](const VSlotPtr& slot) { return object.Name() + '.' + slot->Name(); };
    for (const VSlotPtr& input : object.inputs()) {
        for (const VParameterPtr& parameter : {input->ownParameter(), input->parameter()}) {
            if (uses(parameter)) return holderText(placeOf(input));
        }
    }
    for (const VSlotPtr& output : object.outputs()) {
        if (uses(output->parameter())) return holderText(placeOf(output));
    }
    return {};
}

std::string Module::holderText(const std::string& slot) {
    return "the slot \"" + slot + "\" holds a value of its types";
}

bool Module::uses(const VParameterPtr& parameter) const {
    if (!parameter) return false;
    if (contains(classOf(*parameter)) || contains(parameter->valueType())) return true;
    const auto isOurs = [&](const VValuePtr& value) {
        return value && (contains(classOf(*value)) || contains(value->type()));
    };
    if (isOurs(parameter->DefaultValue())) return true;
    const std::vector<std::string> names = parameter->properties().names();
    return std::any_of(names.begin(), names.end(), [&](const std::string& name) {
        return isOurs(parameter->getProperty(name));
    });
}

bool Module::close() const {
    dlclose(_handle);
    // Static objects have registered themselves for good if they still exist.
    void* const kept = dlopen(_path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD);
    if (kept != nullptr) _handle = kept;
    return kept == nullptr;
}

} // namespace Mirk
