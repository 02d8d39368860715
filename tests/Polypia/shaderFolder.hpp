#pragma once
// A working directory of a test's own, and shader programs that say what they are told to; stands
// on Programmable and GoogleTest.

#include <Polypia/Programmable.hpp>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

/// An empty folder that is the working directory as long as this lives.
class ShaderFolder {
public:
    ShaderFolder() : _before(std::filesystem::current_path()) {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "polypia-shaders-XXXXXX").string();
        EXPECT_NE(::mkdtemp(pattern.data()), nullptr);
        path = pattern;
        std::filesystem::current_path(path);
    }
    ShaderFolder(const ShaderFolder&) = delete;
    ShaderFolder& operator=(const ShaderFolder&) = delete;
    ~ShaderFolder() {
        std::filesystem::current_path(_before);
        std::filesystem::remove_all(path);
    }

    std::filesystem::path path;

private:
    const std::filesystem::path _before;
};

inline void writeFile(const std::string& name, const std::string& content) {
    std::ofstream(name, std::ios::binary) << content;
}

inline std::string fileContent(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Main code and prefixes are what the test says.
class ToldProgrammable : public Mirk::Programmable {
public:
    std::string vertex_shader(Mirk::VRenderContext& context) const override {
        ++vertexCalls;
        return vertex.empty() ? Programmable::vertex_shader(context) : vertex;
    }
    std::string fragment_shader(Mirk::VRenderContext& context) const override {
        return fragment.empty() ? Programmable::fragment_shader(context) : fragment;
    }
    std::string geometry_shader(Mirk::VRenderContext& context) const override {
        ++geometryCalls;
        if (!geometry.empty()) return geometry;
        return hasGeometry ? Programmable::geometry_shader(context) : "";
    }
    std::string VertexShaderPrefix(Mirk::VRenderContext&) const override { return vertexPrefix; }
    std::string FragmentShaderPrefix(Mirk::VRenderContext&) const override {
        return fragmentPrefix;
    }
    std::string GeometryShaderPrefix(Mirk::VRenderContext&) const override {
        return geometryPrefix;
    }

    void buildGeometry() {
        GeometryInput = Mirk::RenderNamespace::TrianglesInput;
        GeometryOutput = Mirk::RenderNamespace::TriangleStripOutput;
    }

    /// Empty for the default text.
    std::string vertex, fragment, geometry;
    bool hasGeometry = true;
    std::string vertexPrefix, fragmentPrefix, geometryPrefix;
    mutable int vertexCalls = 0, geometryCalls = 0;
};
