// The smallest host: create a rendering context, run a block of our own GL
// work on its queue, change its size, and print everything the library
// logged along the way.

#include <lumetra/lumetra.h>

#include <cstdio>
#include <string>
#include <vector>

int main()
{
    std::vector<std::string> logged;
    LMSetLogSink([&logged](const std::string& line) { logged.push_back(line); });

    auto context = LMContext::contextWithDimensions({1280, 720});

    GLint viewport[4] = {};
    context->executeOpenGL([&] { glGetIntegerv(GL_VIEWPORT, viewport); });
    context->bindToSharedVAO();
    context->setDimensions({1920, 1080});

    LMSetLogSink({});
    std::printf("Lumetra %.1f\n", LumetraVersionNumber);
    std::printf("The context logged:\n");
    for (const std::string& line : logged)
        std::printf("  %s\n", line.c_str());
    if (!context->openGLContext())
        return 1;
    std::printf("EGL platform: %s\n", LMEGLDisplay::platformName(LMEGLDisplay::shared()->platform()));
    std::printf("Viewport after set-up: %d, %d, %d by %d\n", viewport[0], viewport[1], viewport[2], viewport[3]);
    std::printf("Shared quad ready: %s; dimensions now %.0f by %.0f\n", context->sharedSetupComplete() ? "yes" : "no",
                context->dimensions().width, context->dimensions().height);
    return 0;
}
