#pragma once

// The views' side of the library's X11 connection (the Display of the
// process-wide EGL display): Xlib's default handlers end the process on any
// protocol error (another client destroying a view's window gives BadWindow)
// and when the connection breaks (the X server went away). Once a view has
// made a window, handlers are installed that record both instead, for the
// library's connection only; errors of any other connection still go to
// the handler that was installed before.
//
// A connection that broke is never used again: Xlib leaves it marked and
// returns at once, but a window surface's swap on it would spin for ever in
// the EGL driver, so views ask `check()` before every swap.
//
// The handlers are process-wide in Xlib. A host that installs its own error
// handler afterwards takes the library's errors too; one that installs an
// I/O error handler afterwards only changes what is printed.
class LMX11Connection {
public:
    // The library's X11 Display, or null when there is none or it broke.
    static void* display();
    // Installs the handlers, once; does nothing without a display.
    static void watch();
    // Reads what the server has sent so far (errors included), without
    // waiting: false when the connection broke, now or before.
    static bool check();
    static bool lost();
    // Whether the server reported that the window or drawable no longer
    // exists (BadWindow or BadDrawable for it); forget() drops the record.
    static bool resourceGone(unsigned long resource);
    static void forget(unsigned long resource);
};
