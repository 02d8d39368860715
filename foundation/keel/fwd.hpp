#pragma once
// Forward declarations of keel, and the map from a class to the root of its reference counting.

#include <keel/export.hpp>

namespace Keel {

class Ageable;
class Cache;
class CacheBase;
class CacheEntry;
class CacheQueue;
class Cacheable;
class ChunkBase;
class ControlBlock;
class Countable;
class Creature;
class Exception;
class FileInfo;
class Filetime;
class Functor;
class InterfaceBase;
class InterfaceIterationParameter;
class Intercube;
class LoaderProgress;
class MutableCacheable;
class NamedCreatures;
class Profiler;
class SpeakPtr;
class SpinLock;
class ThreadPool;
class VerboseStream;
class simplestring;

template<class T>
class KEEL_EXPORT ReferenceBase;
template<class T>
class KEEL_EXPORT Interface;
template<class T>
class KEEL_EXPORT CreatorBase;
template<class T, class Base>
class KEEL_EXPORT Creator;
template<class T, class Base>
class KEEL_EXPORT AlzheimerCreator;
template<class T>
class KEEL_EXPORT typemap;
template<class T>
class KEEL_EXPORT Chunk;
template<class T>
class KEEL_EXPORT TypedChunk;
template<class T>
class KEEL_EXPORT TypedChunkBase;

/// The class at which the ReferenceBase of the hierarchy of T stands. A complete T tells it itself;
/// for a class that is only declared, its library's forward header specialises this template, and
/// the class header asserts that both agree.
template<class T>
struct RootOf {
    using type = typename T::ReferenceRoot;
};

template<class T>
using RootOf_t = typename RootOf<T>::type;

template<>
struct RootOf<Cache> {
    using type = CacheBase;
};
template<>
struct RootOf<CacheBase> {
    using type = CacheBase;
};
template<>
struct RootOf<CacheQueue> {
    using type = Cacheable;
};
template<>
struct RootOf<Cacheable> {
    using type = Cacheable;
};
template<>
struct RootOf<ChunkBase> {
    using type = ChunkBase;
};
template<class T>
struct RootOf<Chunk<T>> {
    using type = ChunkBase;
};
template<class T>
struct RootOf<TypedChunk<T>> {
    using type = ChunkBase;
};
template<class T>
struct RootOf<TypedChunkBase<T>> {
    using type = ChunkBase;
};
template<>
struct RootOf<Creature> {
    using type = Creature;
};
template<class T>
struct RootOf<CreatorBase<T>> {
    using type = Creature;
};
template<>
struct RootOf<InterfaceBase> {
    using type = InterfaceBase;
};
template<class T>
struct RootOf<Interface<T>> {
    using type = InterfaceBase;
};
template<>
struct RootOf<InterfaceIterationParameter> {
    using type = InterfaceIterationParameter;
};
template<>
struct RootOf<LoaderProgress> {
    using type = LoaderProgress;
};
template<>
struct RootOf<MutableCacheable> {
    using type = Cacheable;
};

template<class T, class B = RootOf_t<T>>
class DynPtr;
template<class T, class B = RootOf_t<T>>
class StrongPtr;
template<class T, class B = RootOf_t<T>>
class WeakPtr;
template<class P, bool CountEqual>
class ConcurrentPtr;

} // namespace Keel
