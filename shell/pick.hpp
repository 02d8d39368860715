#pragma once
// The command `pick`; stands on Studio.

#include <Options.hpp>

#include <rookery/PhysicalSpace.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace Shell {

/// An object that is to be seen in a rectangle of pixels.
struct PickedObject {
    std::string name;
    std::string file; ///< none for the globe
    std::size_t pixels;
};

/// What is to be seen in a rectangle of pixels.
struct Picked {
    std::vector<PickedObject> objects;               ///< those with the most pixels first
    std::optional<Skua::PhysicalSpace::point> place; ///< of what lies under a single pixel
};

/// Reads the files and returns what lies under the pixels, in lines or as JSON. Throws what its
/// parts throw; every message names what is at fault.
std::string pick(const PickOptions& options);

} // namespace Shell
