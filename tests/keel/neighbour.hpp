#pragma once
// Uses keel from a library of its own, to show what the libraries of a process share.

#include <keel/Ageable.hpp>
#include <keel/Interface.hpp>

#include <cstdint>

#define NEIGHBOUR_EXPORT __attribute__((visibility("default")))

/// A hierarchy that both sides instantiate.
class NEIGHBOUR_EXPORT Shared : public Keel::ReferenceBase<Shared> {};

/// An interface of which both sides make objects.
class NEIGHBOUR_EXPORT SharedNote : public Keel::Interface<SharedNote> {};

/// Serial number of an object that is made over there.
NEIGHBOUR_EXPORT std::uint64_t serialOfNewShared();

/// Age of an object that gets younger over there.
NEIGHBOUR_EXPORT Keel::Ageable::Age ageOfYoungest();

/// Whether the other side finds a SharedNote in the cube.
NEIGHBOUR_EXPORT bool findsSharedNote(const Keel::Intercube& cube);
