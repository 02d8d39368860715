#pragma once
// The door for readers that come as modules; stands on ReaderRegistry.

#include <Readers/ReaderRegistry.hpp>

/// Makes a shared object a module of readers: it names a function void(Mirk::ReaderRegistry&) that
/// adds readers with ReaderRegistry::add. Once in a module, outside of any namespace.
///
/// Beside NAME.so stands the text file NAME.reader, by which the module is found without being
/// loaded. Each line holds one of
///
///     # comment
///     extension nc
///     magic 0 89484446
///
/// the last with the place and the bytes, in hexadecimal, by which such files are known. Both
/// files go to the folder PolypiaModules next to the library, or to a folder of the
/// colon-separated list POLYPIA_MODULE_PATH, which is searched first.
#define POLYPIA_READER_MODULE(registerReaders)                                                     \
    extern "C" READERS_EXPORT int polypiaReaderInterface();                                        \
    extern "C" int polypiaReaderInterface() {                                                      \
        return Mirk::ReaderRegistry::moduleInterface;                                              \
    }                                                                                              \
    extern "C" READERS_EXPORT void polypiaRegisterReaders(Mirk::ReaderRegistry& registry);         \
    extern "C" void polypiaRegisterReaders(Mirk::ReaderRegistry& registry) {                       \
        registerReaders(registry);                                                                 \
    }
