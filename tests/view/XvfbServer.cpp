// Every test of this suite draws into windows of a virtual X server of its
// own: Xvfb picks a free display number and names it on a pipe once it
// accepts connections. DISPLAY is set before any test makes a GL context, so
// the process's EGL display is the X11 one.

#include "view/XvfbServer.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <string>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

pid_t serverPid = 0;

class XvfbServer : public testing::Environment {
public:
    void SetUp() override
    {
        int pipeFds[2];
        ASSERT_EQ(pipe(pipeFds), 0);
        serverPid = fork();
        if (serverPid == 0) {
            // The server ends with this process, however the process ends.
            prctl(PR_SET_PDEATHSIG, SIGTERM);
            close(pipeFds[0]);
            if (!std::getenv("LUMETRA_XVFB_VERBOSE"))
                freopen("/dev/null", "w", stdout), freopen("/dev/null", "w", stderr);
            execlp("Xvfb", "Xvfb", "-displayfd", std::to_string(pipeFds[1]).c_str(), "-screen", "0", "1024x768x24",
                   "-nolisten", "tcp", static_cast<char*>(nullptr));
            _exit(127);
        }
        close(pipeFds[1]);
        // Blocks until Xvfb writes its number and a newline (the pipe must stay
        // open until then); a server that fails to start, or a failed fork,
        // leaves the pipe with no writer.
        std::string number;
        for (char c = 0; read(pipeFds[0], &c, 1) == 1 && c != '\n';)
            number += c;
        close(pipeFds[0]);
        ASSERT_FALSE(number.empty()) << "Xvfb did not start: these tests need the Debian package xvfb "
                                        "(scripts/install-deps.sh installs it)";
        setenv("DISPLAY", (":" + number).c_str(), 1);
    }
};

[[maybe_unused]] testing::Environment* const xvfbServer = testing::AddGlobalTestEnvironment(new XvfbServer);

} // namespace

pid_t xvfbServerPid()
{
    return serverPid > 0 ? serverPid : 0;
}
