#pragma once
// Which vertex data feed which inputs of a program, for the length of a draw; internal to the
// backend, stands on GLProgram and GLVertexAttribute.

#include <PolypiaGL/glMachine.hpp>

namespace Mirk::GL {

class GLProgram;

/// Binds the vertex array of the machine with all active attributes.
///
/// An attribute feeds the input of its name or, without one, the place of its number unless an
/// input that has its own attribute is there. In a compatibility context it feeds the
/// fixed-function name of its number, if the program uses that.
class VertexLayout {
public:
    /// `program` may be null.
    VertexLayout(Machine& machine, const GLProgram* program);
    ~VertexLayout();

    VertexLayout(const VertexLayout&) = delete;
    VertexLayout& operator=(const VertexLayout&) = delete;

private:
    void place(const GLVertexAttribute& attribute, int location);
    /// Those that have no input of their name.
    template<class Named>
    void placeByNumber(const GLProgram* program, const Named& named);
    bool placeFixed(const GLVertexAttribute& attribute, const GLProgram* program);

    Machine& _machine;
    unsigned _locations = 0;   // bits of those in use
    unsigned _fixedArrays = 0; // bits by attribute number
};

} // namespace Mirk::GL
