#include <PolypiaGL/glVertexLayout.hpp>

#include <PolypiaGL/glBuffers.hpp>
#include <PolypiaGL/glProgram.hpp>

#include <array>
#include <string_view>

namespace Mirk::GL {

namespace {

/// A vertex input of the fixed-function pipeline, in the order of the library's attribute numbers.
/// Drivers differ in whether the generic attribute of its number feeds it; its own array does.
struct FixedArray {
    std::string_view name;
    unsigned array;
    int unit; ///< of texture coordinates
};
constexpr std::array<FixedArray, 8> fixedArrays{{
    {"gl_Vertex", GL_VERTEX_ARRAY, 0},
    {"gl_Normal", GL_NORMAL_ARRAY, 0},
    {"gl_Color", GL_COLOR_ARRAY, 0},
    {"gl_SecondaryColor", GL_SECONDARY_COLOR_ARRAY, 0},
    {"gl_MultiTexCoord0", GL_TEXTURE_COORD_ARRAY, 0},
    {"gl_MultiTexCoord1", GL_TEXTURE_COORD_ARRAY, 1},
    {"gl_MultiTexCoord2", GL_TEXTURE_COORD_ARRAY, 2},
    {"gl_MultiTexCoord3", GL_TEXTURE_COORD_ARRAY, 3},
}};

/// Whether the array takes such data.
bool takes(unsigned array, int components, unsigned type) {
    const bool isNatural = type == GL_UNSIGNED_BYTE || type == GL_UNSIGNED_SHORT ||
                           type == GL_UNSIGNED_INT || type == GL_BYTE;
    switch (array) {
    case GL_VERTEX_ARRAY:
        return components >= 2 && !isNatural;
    case GL_NORMAL_ARRAY:
        return components == 3 && (!isNatural || type == GL_BYTE);
    case GL_COLOR_ARRAY:
        return components >= 3;
    case GL_SECONDARY_COLOR_ARRAY:
        return components == 3;
    default:
        return !isNatural;
    }
}

void setPointer(unsigned array, int components, unsigned type) {
    switch (array) {
    case GL_VERTEX_ARRAY:
        return glVertexPointer(components, type, 0, nullptr);
    case GL_NORMAL_ARRAY:
        return glNormalPointer(type, 0, nullptr);
    case GL_COLOR_ARRAY:
        return glColorPointer(components, type, 0, nullptr);
    case GL_SECONDARY_COLOR_ARRAY:
        return glSecondaryColorPointer(components, type, 0, nullptr);
    default:
        return glTexCoordPointer(components, type, 0, nullptr);
    }
}

/// Has the array read from this buffer, or from none.
void setArray(const FixedArray& fixed, unsigned buffer, int components, unsigned type) {
    GLint callersBuffer = 0;
    GLint callersUnit = GL_TEXTURE0;
    glGetIntegerv(GL_ARRAY_BUFFER_BINDING, &callersBuffer);
    glGetIntegerv(GL_CLIENT_ACTIVE_TEXTURE, &callersUnit);
    glClientActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(fixed.unit));
    glBindBuffer(GL_ARRAY_BUFFER, buffer);
    setPointer(fixed.array, components, type);
    if (buffer != 0) {
        glEnableClientState(fixed.array);
    } else {
        glDisableClientState(fixed.array);
    }
    glBindBuffer(GL_ARRAY_BUFFER, static_cast<GLuint>(callersBuffer));
    glClientActiveTexture(static_cast<GLenum>(callersUnit));
}

} // namespace

VertexLayout::VertexLayout(Machine& machine, const GLProgram* program) : _machine(machine) {
    machine.drawState.bindVertexArray();
    const auto named = [program](const GLVertexAttribute& attribute) {
        return program != nullptr ? program->attributeLocation(attribute.name()) : -1;
    };
    bool areAllNamed = true;
    for (const GLVertexAttribute* attribute : machine.attributes) {
        const int location = named(*attribute);
        areAllNamed = areAllNamed && location >= 0;
        place(*attribute, location);
    }
    if (!areAllNamed) placeByNumber(program, named);
    machine.drawState.limitVertices(_locations);
}

template<class Named>
void VertexLayout::placeByNumber(const GLProgram* program, const Named& named) {
    for (const GLVertexAttribute* attribute : _machine.attributes) {
        if (named(*attribute) >= 0 || placeFixed(*attribute, program)) continue;
        const int location = genericAttribute(attribute->number());
        if (location >= 0 && (_locations & (1U << location)) == 0) place(*attribute, location);
    }
}

VertexLayout::~VertexLayout() {
    for (std::size_t number = 0; _fixedArrays >> number != 0; ++number) {
        if ((_fixedArrays >> number & 1U) == 0) continue;
        constexpr int anyNumber = 3;
        setArray(fixedArrays[number], 0, anyNumber, GL_FLOAT);
    }
}

void VertexLayout::place(const GLVertexAttribute& attribute, int location) {
    if (location < 0) return;
    _machine.drawState.setVertices(static_cast<unsigned>(location), attribute.vertexSource());
    _locations |= 1U << location;
}

bool VertexLayout::placeFixed(const GLVertexAttribute& attribute, const GLProgram* program) {
    if (_machine.context.profile() != Profile::Compatibility || program == nullptr) return false;
    const auto number = static_cast<std::size_t>(attribute.number());
    if (number >= fixedArrays.size()) return false;
    const FixedArray& fixed = fixedArrays[number];
    if (!program->hasAttribute(fixed.name)) return false;
    if (!takes(fixed.array, attribute.components(), attribute.type())) return false;
    setArray(fixed, attribute.memory().number(), attribute.components(), attribute.type());
    _fixedArrays |= 1U << number;
    return true;
}

} // namespace Mirk::GL
