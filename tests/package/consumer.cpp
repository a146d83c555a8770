#include <lumetra/lumetra.h>

#include <cstdio>
#include <cstring>

int main()
{
    auto context = LMContext::contextWithDimensions({64, 32});
    GLint viewport[4] = {};
    context->executeOpenGL([&] { glGetIntegerv(GL_VIEWPORT, viewport); });
    const bool ok = context->openGLContext() && viewport[2] == 64 && viewport[3] == 32 && LumetraVersionNumber == 1.0 &&
                    std::strncmp(reinterpret_cast<const char*>(LumetraVersionString), "@(#)PROGRAM:Lumetra", 19) == 0;
    std::puts(ok ? "installed package works" : "installed package is broken");
    return ok ? 0 : 1;
}
