#pragma once
// The mark of algorithms that run on the GPU alone; stands on VNutrition.

#include <Polypia/export.hpp>

#include <sorrel/VNutrition.hpp>

namespace Mirk {

/// An algorithm that exists on the GPU only: asked to run on the CPU, it gives an explanation.
class POLYPIA_EXPORT PolypNutrition : public virtual VNutrition {
public:
    PolypNutrition();
    ~PolypNutrition() override;

    /// The explanation, as rich text. Looks at none of its arguments.
    std::string digest(std::set<std::string>& foods, const std::string& place,
                       const Translate& translate, const std::set<std::string>& options,
                       const ProgressPtr& progress) override;
};

} // namespace Mirk
