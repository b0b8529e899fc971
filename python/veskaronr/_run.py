"""How a call runs: on how many threads, told about, cancelled, and interrupted by Ctrl-C."""

from __future__ import annotations

import threading
from _thread import start_new_thread
from ctypes import c_int32, pointer
from queue import Empty, SimpleQueue
from typing import Any, Callable, Optional, Protocol, Union, runtime_checkable

from ._arguments import integer
from ._errors import Cancelled
from ._library import PROGRESS, CControl, CPicture, check, sized

_CANCEL_SECONDS = 0.01  # how often `cancel` is looked at
_QUICK_PIXELS = 1 << 16  # done before anybody could interrupt


@runtime_checkable
class SupportsUpdate(Protocol):
    """What tqdm's bars have."""

    def update(self, n: int) -> Any:
        ...


@runtime_checkable
class SupportsIsSet(Protocol):
    """What threading.Event has."""

    def is_set(self) -> bool:
        ...


Progress = Union[Callable[[int, int], Any], SupportsUpdate]


def _teller(progress: Optional[Progress]) -> Optional[Callable[[int, int], Any]]:
    """The callable form of what a caller gave for ``progress``."""
    if progress is None or callable(progress):
        return progress
    if not isinstance(progress, SupportsUpdate):
        raise TypeError("progress must be callable, or have update as tqdm's bars do")
    bar: Any = progress
    told = 0

    def advance(done: int, total: int) -> None:
        nonlocal told
        if getattr(bar, "total", 0) is None:
            bar.total = total
        # A bar that has a total of its own gets there in its own steps.
        reached = done * int(getattr(bar, "total", total)) // total
        bar.update(reached - told)
        told = reached

    return advance


class Runner:
    """Runs calls of the library, one after the other, as the caller wishes.

    A call that must be attended runs in a thread of its own, while the caller's thread tells ``progress``, looks at
    ``cancel`` and remains open to Ctrl-C: a blocked C call would not be.
    """

    def __init__(
        self,
        threads: Optional[int] = None,
        progress: Optional[Progress] = None,
        cancel: Optional[SupportsIsSet] = None,
        calls: int = 1,
    ) -> None:
        self._threads = 0 if threads is None else integer("threads", threads)
        if threads is not None and not 1 <= self._threads < 1 << 31:
            raise ValueError(f"threads must be at least 1, not {threads}")
        if cancel is not None and not isinstance(cancel, SupportsIsSet):
            raise TypeError("cancel must have is_set, as threading.Event does")
        self._tell = _teller(progress)
        self._cancel = cancel
        self._calls = calls
        self._finished = 0

    def __call__(
        self, name: str, picture: CPicture, function: Callable[[CControl], Any], may_leave: bool = False
    ) -> None:
        """Calls the function and raises what a negative result means. With ``may_leave`` it cannot be cancelled, but be
        left alone."""
        if self._is_cancelled():
            raise Cancelled(name, "cancelled", -13)
        flag = c_int32(0)
        control = sized(CControl, threads=self._threads, cancel=pointer(flag))
        attended = self._must_attend(picture.width * picture.height)
        code = self._attended(name, control, flag, function, may_leave) if attended else function(control)
        check(name, code)
        self._finished += 1

    def _is_cancelled(self) -> bool:
        return self._cancel is not None and self._cancel.is_set()

    def _must_attend(self, pixels: int) -> bool:
        if self._tell is not None or self._cancel is not None:
            return True
        return pixels > _QUICK_PIXELS and threading.current_thread() is threading.main_thread()

    def _attended(
        self, name: str, control: CControl, flag: c_int32, function: Callable[[CControl], Any], may_leave: bool
    ) -> int:
        news: SimpleQueue[Any] = SimpleQueue()
        claim = threading.Lock()  # whoever takes it first decides whether the call is made
        over = threading.Event()

        def work() -> None:
            if claim.acquire(blocking=False):
                try:
                    news.put(function(control))
                except BaseException as failure:
                    news.put(failure)
                over.set()

        if self._tell is not None:

            def progressed(host: Any, done: int, total: int) -> int:
                news.put((done, total))
                return 0

            control.progress = PROGRESS(progressed)
        try:
            try:
                start_new_thread(work, ())
            except RuntimeError:  # no thread to be had
                work()
            return self._attend(name, news, flag, may_leave)
        except BaseException:
            flag.value = 1
            if not claim.acquire(blocking=False) and not may_leave:
                _outlast(over)
            raise

    def _attend(self, name: str, news: SimpleQueue[Any], flag: c_int32, may_leave: bool) -> int:
        while True:
            try:
                message = news.get(timeout=None if self._cancel is None else _CANCEL_SECONDS)
            except Empty:
                message = None
            if isinstance(message, int):
                return message
            if isinstance(message, BaseException):
                raise message
            if self._is_cancelled():
                flag.value = 1
                if may_leave:
                    raise Cancelled(name, "cancelled", -13)
            elif message is not None and (news.empty() or message[0] == message[1]):
                self.tell(*message)  # a slow listener misses what is outdated already

    def tell(self, done: int, total: int) -> None:
        if self._tell is not None:
            self._tell(self._finished * total + done, self._calls * total)


def _outlast(over: threading.Event) -> None:
    """Waits for a cancelled call, a tile's time at most, however often the user presses Ctrl-C."""
    while not over.is_set():
        try:
            over.wait()
        except BaseException:
            continue
