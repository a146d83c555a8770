#include "Commands.h"

#include <lumetra/lumetra.h>

#include <cstdio>
#include <string>

namespace {

std::string glString(GLenum name)
{
    const auto* text = reinterpret_cast<const char*>(glGetString(name));
    return text ? text : "(unknown)";
}

} // namespace

int infoCommand(const CommandLine&, LogRecorder& log)
{
    auto context = makeContext(LMSize{1, 1}, log);
    std::string renderer, vendor, version, glsl;
    context->executeOpenGL([&] {
        renderer = glString(GL_RENDERER);
        vendor = glString(GL_VENDOR);
        version = glString(GL_VERSION);
        glsl = glString(GL_SHADING_LANGUAGE_VERSION);
    });
    const LMEGLDisplay* display = LMEGLDisplay::shared();
    std::printf("Lumetra %g\n", LumetraVersionNumber);
    std::printf("Renderer:          %s (%s)\n", renderer.c_str(), vendor.c_str());
    std::printf("OpenGL:            %s\n", version.c_str());
    std::printf("GLSL:              %s\n", glsl.c_str());
    std::printf("EGL platform:      %s\n", display ? LMEGLDisplay::platformName(display->platform()) : "none");
    std::printf("Max texture size:  %d\n", static_cast<int>(context->maxTextureSize()));
    return 0;
}
