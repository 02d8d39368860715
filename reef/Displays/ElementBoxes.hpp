#pragma once
// How near data are to a place, without a look at all of them; stands on rookery.

#include <Displays/export.hpp>

#include <rookery/BoundingBox.hpp>
#include <rookery/PhysicalSpace.hpp>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <vector>

namespace Mirk {

/// Of a point to the nearest one of a box; infinity for a box that holds nothing.
DISPLAYS_EXPORT double distanceToBox(const Skua::PhysicalSpace::AABB& box,
                                     const Skua::PhysicalSpace::point& from);
/// Of a point to the nearest one between two others. Not a number if one of them isn't finite.
DISPLAYS_EXPORT double distanceToSegment(const Skua::PhysicalSpace::point& a,
                                         const Skua::PhysicalSpace::point& b,
                                         const Skua::PhysicalSpace::point& from);

/// Of a point to the nearest one of a triangle. Not a number if a corner isn't finite.
DISPLAYS_EXPORT double distanceToTriangle(const Skua::PhysicalSpace::point& a,
                                          const Skua::PhysicalSpace::point& b,
                                          const Skua::PhysicalSpace::point& c,
                                          const Skua::PhysicalSpace::point& from);

/// Boxes around runs of elements, one after the other.
class DISPLAYS_EXPORT ElementBoxes {
public:
    using point = Skua::PhysicalSpace::point;
    static constexpr std::size_t elementsInEach = 1024;

    /// `addTo(element, box)` widens a box by what is finite of an element.
    template<class AddTo>
    ElementBoxes(std::size_t elements, const AddTo& addTo) : _elements(elements) {
        _boxes.reserve(elements / elementsInEach + 1);
        for (std::size_t first = 0; first < elements; first += elementsInEach) {
            Skua::BoundingBox box;
            const std::size_t end = std::min(first + elementsInEach, elements);
            for (std::size_t element = first; element < end; ++element) addTo(element, box);
            append(box);
        }
    }

    /// Of all elements, with its ball.
    Skua::BoundingBox bounds() const;
    /// The smallest of distanceOf(element), which isn't less than the distance of the element's
    /// box; infinity without elements. What is not a number is passed over.
    template<class DistanceOf>
    double nearest(const point& from, const DistanceOf& distanceOf) const {
        double best = std::numeric_limits<double>::infinity();
        const auto lookInto = [&](std::size_t run) {
            const std::size_t first = run * elementsInEach;
            const std::size_t end = std::min(first + elementsInEach, _elements);
            for (std::size_t element = first; element < end; ++element) {
                const double distance = distanceOf(element);
                if (distance < best) best = distance;
            }
        };
        const std::size_t likely = nearestBox(from);
        if (likely < _boxes.size()) lookInto(likely);
        for (std::size_t run = 0; run < _boxes.size(); ++run) {
            if (run != likely && distanceToBox(_boxes[run], from) < best) lookInto(run);
        }
        return best;
    }

private:
    void append(const Skua::BoundingBox& box);
    std::size_t nearestBox(const point& from) const;

    std::size_t _elements;
    std::vector<Skua::PhysicalSpace::AABB> _boxes;
};

} // namespace Mirk
