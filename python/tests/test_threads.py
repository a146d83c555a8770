"""Drawing releases the GIL: a draw goes on while another thread holds it."""

import sys
import threading
import time

import lumetra
from conftest import picture


def test_a_draw_finishes_while_another_thread_holds_the_gil():
    graph = lumetra.filter("gaussian-blur", lumetra.image(picture(height=800, width=1200)), sigma=12)
    with lumetra.Context(caching=False) as context:
        context.draw(graph)  # built and compiled; the next draw is one native call
        started, finished = threading.Event(), []
        drawer = threading.Thread(target=lambda: (started.set(), finished.append(context.draw(graph))))
        interval = sys.getswitchinterval()
        # Nothing makes this thread give the GIL up while it loops below.
        sys.setswitchinterval(60)
        try:
            before = lumetra._lumetra.draws_completed()
            drawer.start()
            started.wait()
            # This thread runs again only once the drawer gives the GIL up: in its draw.
            drawing_meanwhile = lumetra._lumetra.draws_completed() == before
            deadline = time.monotonic() + 50
            while lumetra._lumetra.draws_completed() == before and time.monotonic() < deadline:
                pass
            drawn_meanwhile = lumetra._lumetra.draws_completed() > before
            # The drawer needs the GIL to return: it cannot have yet.
            returned_meanwhile = bool(finished)
        finally:
            sys.setswitchinterval(interval)
        drawer.join()
    assert drawing_meanwhile and drawn_meanwhile and not returned_meanwhile
