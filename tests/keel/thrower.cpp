#include "thrower.hpp"

#include <keel/Exception.hpp>

void throwKeelException() {
    throw Keel::Exception("throwKeelException", "thrower.cpp", 7);
}
