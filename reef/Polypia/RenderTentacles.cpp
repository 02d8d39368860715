#include <Polypia/RenderTentacles.hpp>

#include <Polypia/Seagrass.hpp>

#include <keel/VerboseStream.hpp>

#include <algorithm>
#include <iterator>

namespace Mirk {

RenderBasin::Program::Program() = default;

RenderBasin::Program::~Program() = default;

bool RenderBasin::Program::SourceHasChanged() const {
    const auto changed = [](const auto& entry) {
        const Keel::FileInfo info(entry.first);
        return info.exists && info.modified > entry.second;
    };
    const auto found = std::find_if(ProgramFileTimes.begin(), ProgramFileTimes.end(), changed);
    if (found == ProgramFileTimes.end()) return false;
    Keel::VerboseStream("GL").print("%s has changed since %s", found->first.c_str(),
                                    found->second.str().c_str());
    return true;
}

void RenderBasin::Program::setAllProgramVariables(const FloatedOrigin& origin) const {
    _worldOrigin = origin.worldOrigin;
    const auto send = [&](const ProgramVariables::value_type& variable) {
        setProgramVariable(variable.first, variable, origin);
    };
    if (hasNoKinds()) {
        std::for_each(begin(), end(), send);
        return;
    }
    std::map<std::string, Variant> all(begin(), end());
    forEachKind([&](const auto& values) { all.insert(values.begin(), values.end()); });
    std::for_each(all.begin(), all.end(), send);
}

RenderBasin::VertexAttribute::VertexAttribute(int attribute)
    : SpecializedTentacle(attribute), hints(FloatingPoint) {}

RenderBasin::VertexAttribute::~VertexAttribute() = default;

void RenderBasin::VertexAttribute::setHintsFromName(char letter) {
    const ElementKind kind = letter == 'd'   ? DoublePrecision
                             : letter == 'i' ? SignedInteger
                             : letter == 'I' ? UnsignedInteger
                                             : FloatingPoint;
    hints = static_cast<std::uint8_t>((hints & 0xF0U) | kind);
}

RenderBasin::Painter::Painter() = default;

RenderBasin::Painter::~Painter() = default;

bool RenderBasin::Painter::activate(const Polyp& polyp) {
    const auto [first, last] = polyp.get_programs();
    const auto counts = [](const auto& entry) {
        return entry.second && entry.second->activityMask != 0;
    };
    const auto next = std::find_if(first, last, counts);
    if (next == last) return draw(polyp);
    if (std::none_of(std::next(next), last, counts)) {
        if (const ProgramPtr program(next->second); program) program->prepare(polyp);
        return draw(polyp);
    }
    for (auto entry = next; entry != last; ++entry) {
        const ProgramPtr program(entry->second);
        if (!program) continue;
        program->prepare(polyp);
        draw(polyp);
    }
    return true;
}

bool RenderBasin::Painter::deactivate(const Polyp&) {
    return true;
}

RenderBasin::RangedPainter::RangedPainter() = default;

RenderBasin::RangedPainter::~RangedPainter() = default;

RenderBasin::ComputationDispatcher::ComputationDispatcher() = default;

RenderBasin::ComputationDispatcher::~ComputationDispatcher() = default;

RenderBasin::RenderTimer::RenderTimer() = default;

RenderBasin::RenderTimer::~RenderTimer() = default;

void RenderBasin::RenderTimer::reset() {
    startNanoseconds = 0;
    totalNanoseconds = 0;
    measurements = 0;
}

RenderBasin::RenderFlag::RenderFlag() = default;

RenderBasin::RenderFlag::~RenderFlag() = default;

RenderBasin::Buffer::Buffer() = default;

RenderBasin::Buffer::~Buffer() = default;

RenderBasin::StorageForm::StorageForm(const ChunkFactory& factory, StorageFlags flags)
    : _flags(flags), _source(factory.target_type()) {
    using Plain = ChunkPtr (*)();
    const Plain* const plain = factory.target<Plain>();
    if (plain != nullptr) _function = reinterpret_cast<std::uintptr_t>(*plain);
}

RenderBasin::StorageForm::StorageForm(std::size_t bytes, StorageFlags flags)
    : _flags(flags), _bytes(bytes), _source(typeid(bytes)) {}

RenderBasin::StorageBufferTentacle::StorageBufferTentacle() = default;

RenderBasin::StorageBufferTentacle::~StorageBufferTentacle() = default;

RenderBasin::Illumination::Illumination(const Keel::WeakPtr<Seagrass>& seagrass)
    : _seagrass(seagrass) {}

RenderBasin::Illumination::~Illumination() = default;

bool RenderBasin::Illumination::activate(const Polyp&) {
    return true;
}

bool RenderBasin::Illumination::deactivate(const Polyp&) {
    return true;
}

RenderBasin::IlluminationPtr RenderBasin::Illumination::get(const Polyp& polyp) {
    const auto [first, last] = polyp.get_range(Polyp::ParameterKey, Polyp::ParameterKey);
    for (auto entry = first; entry != last; ++entry) {
        if (IlluminationPtr found(entry->second); found) return found;
    }
    return {};
}

bool RenderBasin::Illumination::mergeIlluminationUniformsIntoProgram(Program& program) {
    const Keel::StrongPtr<Seagrass> alive(_seagrass);
    if (alive) mergeIlluminationUniforms(*alive, program);
    return true;
}

bool RenderBasin::Illumination::mergeIlluminationUniformsIntoProgram(Program& program,
                                                                     const Polyp& polyp) {
    const IlluminationPtr illumination = get(polyp);
    return !illumination || illumination->mergeIlluminationUniformsIntoProgram(program);
}

} // namespace Mirk
