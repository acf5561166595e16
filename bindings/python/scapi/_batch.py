"""Many tasks on many processes and machines."""

from __future__ import annotations

import hashlib
import os
import sys
import threading
import time
import warnings
from collections import deque
from collections.abc import Callable, Iterable
from concurrent.futures import FIRST_COMPLETED, BrokenExecutor, Executor, Future, \
    ProcessPoolExecutor, wait
from dataclasses import dataclass, field
from functools import lru_cache
from multiprocessing import get_context
from typing import Any, Generic, TypeAlias, TypeVar, Union, cast

from . import errors
from ._mesh import Mesh, PathLike
from ._progress import TerminalProgress
from .errors import ChangedFileError, Error

T = TypeVar("T")


class WorkerLostWarning(UserWarning):
    """A worker died; its tasks are given to others."""


class WorkerLostError(Error):
    """Workers died at the same tasks again and again, or an executor broke for good."""


@dataclass(frozen=True)
class MeshFile:
    """An STL file as the argument of a task: a few bytes. Each process loads it once.

    path, unit, axes  as of `Mesh.from_stl`; the path has to lead to the file on each machine
    digest            of its contents: taken when the task is made, compared in each worker, so that
                      a file that was changed or is another one there raises `ChangedFileError`
    """

    path: str
    unit: str | float = "mm"
    axes: str = "xyz"
    digest: str = field(default="", repr=False)

    def __post_init__(self) -> None:
        object.__setattr__(self, "path", os.path.abspath(self.path))
        if not self.digest:
            object.__setattr__(self, "digest", _digest(self.path))

    def load(self) -> Mesh:
        """The mesh; from memory if this process has it already."""
        with _loading:
            return _loaded(self)


def _digest(path: PathLike) -> str:
    try:
        with open(path, "rb") as file:
            return hashlib.file_digest(file, "sha256").hexdigest()
    except OSError as error:
        raise errors.MeshFileError(f"{path}: {error.strerror}") from None


_loading = threading.Lock()


@lru_cache(maxsize=256)
def _loaded(file: MeshFile) -> Mesh:
    mesh = Mesh.from_stl(file.path, file.unit, file.axes)
    # Afterwards: a file that is replaced while it is read must not pass.
    if _digest(file.path) != file.digest:
        raise ChangedFileError(f"{file.path}: not the file that the task was made for; make the "
                               "tasks again, or copy the file to this machine")
    return mesh


class Task(Generic[T]):
    """A call to be made elsewhere: function(*args, **kwargs), with each `MeshFile` among the
    arguments replaced by its mesh.

        Task(scapi.distance_many, MeshFile("a.stl"), MeshFile("b.stl"), poses_b=poses[:1000])

    The function is one of a module, so that workers can import it. Keep the arguments small: a
    `Mesh` among them is sent with all its triangles.
    """

    __slots__ = ("function", "args", "kwargs")

    def __init__(self, function: Callable[..., T], *args: Any, **kwargs: Any) -> None:
        self.function, self.args, self.kwargs = function, args, kwargs

    def __call__(self) -> T:
        return self.function(*map(_resolved, self.args),
                             **{name: _resolved(value) for name, value in self.kwargs.items()})

    def __repr__(self) -> str:
        return f"<Task: {getattr(self.function, '__name__', self.function)}>"


def _resolved(argument: Any) -> Any:
    return argument.load() if isinstance(argument, MeshFile) else argument


def _run(task: Task[Any]) -> Any:
    return task()


def batch(tasks: Iterable[Task[T]], executor: Executor | None = None, *,
          workers: int | None = None, attempts: int = 3, progress: bool | None = None) -> list[T]:
    """Runs tasks on other processes. Returns their results, in the order of the tasks.

        if __name__ == "__main__":
            parts = np.array_split(poses, 40)
            results = scapi.batch(Task(scapi.distance_many, a, b, poses_b=part) for part in parts)
            all_of_them = scapi.Results.join(results)

    executor  any of concurrent.futures, which stays open; of Dask `client.get_executor()`, of MPI
              `mpi4py.futures.MPIPoolExecutor()`. None: a pool of processes of this machine, which
              start afresh, so that the script needs its `if __name__ == "__main__"`.
    workers   of that pool; None: one for each processor
    attempts  how often a task is begun whose worker died; then `WorkerLostError`
    progress  on standard error; None: if that is a terminal

    A worker that dies is said in a `WorkerLostWarning` and its tasks are given to others: by the
    pool, which is replaced, and by Dask, which does so itself. MPI ends the whole run when a
    process of it dies. The first task that raises ends the batch with its exception.
    """
    pool: _Pool = _Given(executor) if executor else _OwnPool(
        workers if workers is not None else os.cpu_count() or 1)
    show = sys.stderr.isatty() if progress is None else progress
    run: _Run[T] = _Run(list(tasks), pool, attempts, TerminalProgress("tasks") if show else None)
    try:
        results = run.finish()
    except BaseException:
        for future in run.running:
            future.cancel()
        pool.stop()
        raise
    pool.close()
    return results


class _OwnPool:
    """Processes of this machine, replaced when one of them dies: a pool cannot go on then."""

    def __init__(self, workers: int) -> None:
        self.workers = workers
        self.window = 2 * workers  # so few are in doubt when a worker dies
        self.replace()

    def replace(self) -> None:
        self.executor: Executor = ProcessPoolExecutor(self.workers, get_context("spawn"))

    def lost(self) -> list[str]:
        return []

    def close(self) -> None:
        self.executor.shutdown(wait=False)

    def stop(self) -> None:
        # A worker takes Ctrl-C for the failure of its task, and would begin the next one.
        workers = list((getattr(self.executor, "_processes", None) or {}).values())
        self.executor.shutdown(wait=False, cancel_futures=True)
        for worker in workers:
            worker.terminate()


class _Given:
    """The executor of the caller."""

    def __init__(self, executor: Executor) -> None:
        self.executor = executor
        self.window = 1024
        self._known = self._names()

    def replace(self) -> None:
        if isinstance(self.executor, ProcessPoolExecutor):
            raise WorkerLostError("a worker died, and the executor with it: pass executor=None for "
                                  "a pool that is replaced then")

    def lost(self) -> list[str]:
        """Names of workers that have gone since the last time, where the executor tells."""
        now = self._names()
        gone = sorted(self._known - now)
        self._known = now
        return gone

    def _names(self) -> set[str]:
        client = getattr(self.executor, "_client", None)  # Dask's
        if client is None or not hasattr(client, "scheduler_info"):
            return set()
        return set(client.scheduler_info()["workers"])

    def close(self) -> None:
        pass

    stop = close


_Pool: TypeAlias = Union[_OwnPool, _Given]


def _is_worker_lost(error: BaseException) -> bool:
    # Dask's, named so that Dask need not be there.
    return isinstance(error, BrokenExecutor) or type(error).__name__ == "KilledWorker"


class _Run(Generic[T]):
    """The state of a batch."""

    def __init__(self, tasks: list[Task[T]], pool: _Pool, attempts: int,
                 progress: TerminalProgress | None) -> None:
        self.tasks, self.pool, self.attempts, self.progress = tasks, pool, attempts, progress
        self.results: list[T | None] = [None] * len(tasks)
        self.begun = [0] * len(tasks)
        self.todo = deque(range(len(tasks)))
        self.running: dict[Future[T], int] = {}
        self.done = 0
        self.next_watch = 0.0

    def finish(self) -> list[T]:
        self._report()
        while self.todo or self.running:
            lost = self._submit()
            done, _ = wait(self.running, timeout=0.5, return_when=FIRST_COMPLETED)
            for future in done:
                lost += self._take(future)
            if lost:
                self._begin_again(sorted(lost))
            self._watch()
            self._report()
        return cast("list[T]", self.results)

    def _submit(self) -> list[int]:
        """Keeps the workers busy. Returns the tasks that a broken executor refused."""
        while self.todo and len(self.running) < self.pool.window:
            task = self.todo.popleft()
            try:
                self.running[self.pool.executor.submit(_run, self.tasks[task])] = task
            except BrokenExecutor:
                return [task]
        return []

    def _take(self, future: Future[T]) -> list[int]:
        """Keeps a result. Returns the task if its worker was lost."""
        task = self.running.pop(future)
        error = future.exception()
        if error is None:
            self.results[task] = future.result()
            self.done += 1
            return []
        if _is_worker_lost(error):
            return [task]
        error.add_note(f"in task {task} of {len(self.tasks)}: {self.tasks[task]}")
        raise error

    def _begin_again(self, lost: list[int]) -> None:
        if isinstance(self.pool, _OwnPool):
            # The pool is broken: what else was running is lost with it.
            lost = sorted({*lost, *self.running.values()})
            self.running.clear()
        for task in lost:
            self.begun[task] += 1
        self.todo.extendleft(reversed(lost))
        hopeless = [task for task in lost if self.begun[task] >= self.attempts]
        if hopeless:
            raise WorkerLostError(f"workers died {self.attempts} times while tasks {hopeless} ran: "
                                  "look at their memory, and whether the script guards its start "
                                  "with if __name__ == \"__main__\"")
        self._say(f"a worker died: {len(lost)} tasks are given to others")
        self.pool.replace()

    def _watch(self) -> None:
        """Says which workers have gone. At the end too: a short batch would be over unsaid."""
        now = time.monotonic()
        if now < self.next_watch and (self.todo or self.running):
            return
        self.next_watch = now + 0.5
        for name in self.pool.lost():
            self._say(f"worker {name} is gone: its tasks are given to others")

    def _say(self, text: str) -> None:
        if self.progress:
            sys.stderr.write("\n")
        warnings.warn(text, WorkerLostWarning, stacklevel=4)

    def _report(self) -> None:
        if self.progress:
            self.progress(self.done, len(self.tasks))
