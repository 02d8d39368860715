#pragma once
// Throws from a library of its own; stands on nothing, so that the tests see no type of keel here.

#define THROWER_EXPORT __attribute__((visibility("default")))

THROWER_EXPORT void throwKeelException();
