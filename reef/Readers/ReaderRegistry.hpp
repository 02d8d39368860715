#pragma once
// Finds the reader for a file, among ours and those of modules; stands on Reader.

#include <Readers/Reader.hpp>
#include <Readers/export.hpp>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Mirk {

/// The known readers, and the modules that can be loaded for more. All operations may be called
/// from several threads.
class READERS_EXPORT ReaderRegistry {
public:
    /// Raised whenever a module that was built before can no longer be loaded.
    static constexpr int moduleInterface = 1;

    /// Knows our readers of meshes, and those of the modules in `moduleFolders`, the first folder
    /// before the others.
    explicit ReaderRegistry(std::vector<std::string> moduleFolders);
    ~ReaderRegistry();
    ReaderRegistry(const ReaderRegistry&) = delete;
    ReaderRegistry& operator=(const ReaderRegistry&) = delete;

    /// The registry of the process, which readFile uses. Its modules are looked for in the
    /// folders of POLYPIA_MODULE_PATH and in the folder PolypiaModules next to this library.
    static ReaderRegistry& global();

    /// Adds a reader. A later one is asked before an earlier one that is as sure as it is.
    void add(std::unique_ptr<const Reader> reader);

    /// The reader for a file: the one that is surest of the content, else the one with the
    /// extension of its name. A module that may have it is loaded first; this fails with
    /// ReaderError if the module can't be loaded, or if no reader fits.
    const Reader& find(const InputFile& file);

    /// Finds the reader and reads.
    Dataset read(const InputFile& file, const ReadOptions& options = {});

private:
    struct Module;

    const Reader* bestOfContent(const InputFile& file, Recognition& surest) const;
    const Reader* bestOfExtension(const std::string& extension) const;
    void findModules();
    template<class Condition>
    void loadModules(const InputFile& file, Condition condition);

    mutable std::recursive_mutex _mutex;
    std::vector<std::unique_ptr<const Reader>> _readers;
    std::vector<std::string> _moduleFolders;
    std::vector<Module> _modules;
    bool _modulesFound = false;
};

/// Reads a file with the process's registry. Coordinates are double precision from the file on.
/// Throws ReaderError: its what() is one line with the file, the place and what would be right.
READERS_EXPORT Dataset readFile(const std::string& path, const ReadOptions& options = {});

} // namespace Mirk
