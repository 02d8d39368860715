#include <Readers/ReaderRegistry.hpp>

#include <Readers/ReaderError.hpp>
#include <Readers/builtInReaders.hpp>
#include <Readers/textScanner.hpp>
#include <keel/Environment.hpp>

#include <dlfcn.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <new>

namespace Mirk {
namespace {

namespace fs = std::filesystem;

constexpr const char* descriptionExtension = ".reader";

struct Magic {
    std::size_t offset;
    std::string bytes;
};

std::vector<std::string> standardModuleFolders() {
    std::vector<std::string> folders;
    const std::string list = Keel::getEnvString(
        "POLYPIA_MODULE_PATH", "folders with modules, parted by colons, searched before ours");
    for (std::size_t begin = 0; begin <= list.size();) {
        const std::size_t end = std::min(list.find(':', begin), list.size());
        if (end > begin) folders.push_back(list.substr(begin, end - begin));
        begin = end + 1;
    }
    Dl_info library;
    if (dladdr(reinterpret_cast<const void*>(&readFile), &library) && library.dli_fname)
        folders.push_back((fs::path(library.dli_fname).parent_path() / "PolypiaModules").string());
    return folders;
}

std::string bytesOfHex(TextScanner& scanner) {
    const std::string_view hex = scanner.word("bytes in hexadecimal");
    std::string bytes;
    for (std::size_t i = 0; i < hex.size(); i += 2) {
        unsigned value = 0;
        const char* const end = hex.data() + std::min(i + 2, hex.size());
        const auto result = std::from_chars(hex.data() + i, end, value, 16);
        if (result.ptr != hex.data() + i + 2)
            scanner.fail("expected pairs of hexadecimal digits, got " + ReaderError::quoted(hex));
        bytes += static_cast<char>(value);
    }
    return bytes;
}

} // namespace

struct ReaderRegistry::Module {
    explicit Module(const fs::path& description);
    bool fits(std::string_view head) const;
    bool hasExtension(const std::string& extension) const;
    void load(ReaderRegistry& registry, const InputFile& file);

    std::string library;
    std::vector<std::string> extensions;
    std::vector<Magic> magics;
    bool loaded = false;
};

ReaderRegistry::Module::Module(const fs::path& description)
    : library(fs::path(description).replace_extension(".so").string()) {
    const InputFile file(description.string());
    TextScanner scanner(file, '#');
    while (scanner.toNextContent()) {
        const std::string_view key = scanner.word("a key");
        if (key == "extension") {
            extensions.emplace_back(scanner.word("an extension"));
        } else if (key == "magic") {
            const std::size_t offset = scanner.count("place of the bytes");
            magics.push_back({offset, bytesOfHex(scanner)});
        } else {
            scanner.fail("expected 'extension' or 'magic', got " + ReaderError::quoted(key));
        }
        scanner.expectLineEnd();
    }
}

bool ReaderRegistry::Module::fits(std::string_view head) const {
    return std::any_of(magics.begin(), magics.end(), [&](const Magic& magic) {
        return magic.offset <= head.size() && head.substr(magic.offset).starts_with(magic.bytes);
    });
}

bool ReaderRegistry::Module::hasExtension(const std::string& extension) const {
    return std::find(extensions.begin(), extensions.end(), extension) != extensions.end();
}

// Modules stay loaded: readers, datasets and exceptions have code in them.
void ReaderRegistry::Module::load(ReaderRegistry& registry, const InputFile& file) {
    const auto refuse = [&](const std::string& reason) {
        throw ReaderError(file.path(), "",
                          "the module " + library + " for such files can't be loaded: " + reason);
    };
    void* const handle = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) refuse(dlerror());
    const auto builtFor = reinterpret_cast<int (*)()>(dlsym(handle, "polypiaReaderInterface"));
    const auto registerReaders =
        reinterpret_cast<void (*)(ReaderRegistry&)>(dlsym(handle, "polypiaRegisterReaders"));
    if (!builtFor || !registerReaders) refuse("expected POLYPIA_READER_MODULE in it");
    if (builtFor() != moduleInterface)
        refuse("expected interface " + std::to_string(moduleInterface) + ", got " +
               std::to_string(builtFor()));
    registerReaders(registry);
    loaded = true;
}

ReaderRegistry::ReaderRegistry(std::vector<std::string> moduleFolders)
    : _moduleFolders(std::move(moduleFolders)) {
    add(makeObjReader());
    add(makeOffReader());
    add(makePlyReader());
    add(makeStlReader());
}

ReaderRegistry::~ReaderRegistry() = default;

ReaderRegistry& ReaderRegistry::global() {
    static ReaderRegistry registry(standardModuleFolders());
    return registry;
}

void ReaderRegistry::add(std::unique_ptr<const Reader> reader) {
    const std::scoped_lock lock(_mutex);
    _readers.push_back(std::move(reader));
}

const Reader* ReaderRegistry::bestOfContent(const InputFile& file, Recognition& surest) const {
    const Reader* best = nullptr;
    surest = Recognition::None;
    for (auto reader = _readers.rbegin(); reader != _readers.rend(); ++reader) {
        const Recognition sure = (*reader)->recognises(file);
        if (sure <= surest) continue;
        surest = sure;
        best = reader->get();
    }
    return best;
}

const Reader* ReaderRegistry::bestOfExtension(const std::string& extension) const {
    for (auto reader = _readers.rbegin(); reader != _readers.rend(); ++reader) {
        const auto extensions = (*reader)->extensions();
        if (std::find(extensions.begin(), extensions.end(), extension) != extensions.end())
            return reader->get();
    }
    return nullptr;
}

void ReaderRegistry::findModules() {
    if (_modulesFound) return;
    std::vector<Module> modules;
    for (const std::string& folder : _moduleFolders) {
        std::vector<fs::path> descriptions;
        std::error_code ignored; // a folder that isn't there holds no modules
        for (const fs::directory_entry& entry : fs::directory_iterator(folder, ignored))
            if (entry.path().extension() == descriptionExtension)
                descriptions.push_back(entry.path());
        std::sort(descriptions.begin(), descriptions.end());
        for (const fs::path& description : descriptions) modules.emplace_back(description);
    }
    // The reader that was added last is asked first, so the first folder comes last.
    std::reverse(modules.begin(), modules.end());
    _modules = std::move(modules);
    _modulesFound = true;
}

template<class Condition>
void ReaderRegistry::loadModules(const InputFile& file, Condition condition) {
    findModules();
    for (Module& module : _modules)
        if (!module.loaded && condition(module)) module.load(*this, file);
}

const Reader& ReaderRegistry::find(const InputFile& file) {
    const std::scoped_lock lock(_mutex);
    Recognition surest;
    const Reader* reader = bestOfContent(file, surest);
    if (surest != Recognition::Content) {
        loadModules(file, [&](const Module& module) { return module.fits(file.head()); });
        reader = bestOfContent(file, surest);
    }
    if (reader) return *reader;

    const std::string extension = file.extension();
    loadModules(file, [&](const Module& module) { return module.hasExtension(extension); });
    if ((reader = bestOfExtension(extension))) return *reader;

    std::string known;
    for (const auto& each : _readers) known += (known.empty() ? "" : ", ") + each->name();
    for (const Module& module : _modules)
        if (!module.loaded)
            known += ", what " + fs::path(module.library).stem().string() + " reads";
    throw ReaderError(file.path(), "",
                      "expected a file of a known kind (" + known + "), got one that begins with " +
                          ReaderError::quoted(file.head().substr(0, 16)));
}

Dataset ReaderRegistry::read(const InputFile& file, const ReadOptions& options) {
    try {
        return find(file).read(file, options);
    } catch (const std::bad_alloc&) {
        throw ReaderError(file.path(), "", "there is not enough memory for its data");
    }
}

Dataset readFile(const std::string& path, const ReadOptions& options) {
    const auto open = [&] {
        try {
            return std::make_unique<InputFile>(path);
        } catch (const std::bad_alloc&) {
            throw ReaderError(path, "", "there is not enough memory for its data");
        }
    };
    return ReaderRegistry::global().read(*open(), options);
}

} // namespace Mirk
