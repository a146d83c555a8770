#pragma once

#include "lumetra/platform/LMGL.h"

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

class LMContext;

// One linked program of a context: the context's shared vertex shader with
// one fragment shader. "in_Position" and "in_TexCoord" are bound to the
// shared quad's attribute indices and "lm_output" to colour number 0 before
// linking. Failures are logged, and the program object exists all the same.
// Uniform locations are asked of GL once per name, missing ones included.
//
// Threads: not locked; made, used and asked for locations only where its
// context's GL context is current, on the context's GL queue.
class LMProgram {
public:
    // Compiles and links with the owning GL context current.
    LMProgram(const std::string& name, GLuint vertexShader, const char* fragmentShaderSource);

    LMProgram(const LMProgram&) = delete;
    LMProgram& operator=(const LMProgram&) = delete;

    void useProgram();
    GLint uniformLocation(std::string_view uniformName);
    GLint attributeLocation(const char* attributeName);

    GLuint number() const { return number_; }
    // Whether linking succeeded; a program that failed draws nothing useful.
    bool isLinked() const { return linked_; }
    void setNumber(GLuint number) { number_ = number; }
    // Owner and name properties; the constructor sets neither.
    std::shared_ptr<LMContext> context() const { return context_.lock(); }
    void setContext(std::weak_ptr<LMContext> context) { context_ = std::move(context); }
    const std::string& name() const { return name_; }
    void setName(std::string name) { name_ = std::move(name); }

    struct NameHash {
        using is_transparent = void;
        size_t operator()(std::string_view name) const { return std::hash<std::string_view>{}(name); }
    };
    using LocationCache = std::unordered_map<std::string, GLint, NameHash, std::equal_to<>>;
    const LocationCache& uniformLocationCache() const { return uniformLocationCache_; }

private:
    GLuint number_ = 0;
    bool linked_ = false;
    std::weak_ptr<LMContext> context_;
    LocationCache uniformLocationCache_;
    std::string name_;
};
