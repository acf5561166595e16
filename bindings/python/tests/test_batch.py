import os
import pathlib
import pickle
import shutil
import signal
import subprocess
import sys
from concurrent.futures import ProcessPoolExecutor, ThreadPoolExecutor
from multiprocessing import get_context

import pytest

import jobs
import scapi
from scapi import Task, errors

HERE = pathlib.Path(__file__).parent


@pytest.fixture
def expected(stl):
    """What the sweep gives without other processes."""
    return jobs.digest([task() for task in jobs.sweep(stl)])


@pytest.mark.filterwarnings("error")
def test_results_in_another_order_than_the_tasks(stl, expected):
    assert jobs.digest(scapi.batch(jobs.sweep(stl), workers=2)) == expected
    with ThreadPoolExecutor(3) as threads:
        assert jobs.digest(scapi.batch(jobs.sweep(stl), threads)) == expected
    assert scapi.batch([]) == []


def test_a_killed_process_that_takes_tasks_with_it(stl, tmp_path, expected):
    with pytest.warns(scapi.WorkerLostWarning, match="given to others"):
        results = scapi.batch(jobs.sweep_with_a_death(stl, tmp_path / "mark"), workers=2)
    assert jobs.digest(results) == expected


def test_a_task_that_kills_each_worker_for_ever(stl):
    with pytest.warns(scapi.WorkerLostWarning), pytest.raises(scapi.WorkerLostError, match="0"):
        scapi.batch([Task(jobs.die)], workers=1, attempts=2)
    with ProcessPoolExecutor(1, get_context("spawn")) as pool:
        with pytest.warns(scapi.WorkerLostWarning), pytest.raises(scapi.WorkerLostError,
                                                                  match="executor=None"):
            scapi.batch([Task(jobs.die)], pool)


def test_an_exception_of_a_task_that_is_lost(stl):
    with pytest.raises(ValueError, match="number 3") as caught:
        scapi.batch([Task(jobs.echo, 1), Task(jobs.fail, 3)], workers=1)
    assert "in task 1 of 2: <Task: fail>" in caught.value.__notes__
    with pytest.raises(errors.PoseScaledError) as caught:
        scapi.batch([Task(scapi.within, scapi.MeshFile(stl), scapi.MeshFile(stl),
                          [[2, 0, 0, 0], [0, 2, 0, 0], [0, 0, 2, 0]])], workers=1)
    assert caught.value.code == errors.PoseScaledError.code


def test_a_mesh_that_is_loaded_for_each_task(stl):
    file = scapi.MeshFile(stl)
    tasks = [Task(jobs.loads, file, scapi.MeshFile(stl)) for _ in range(9)]
    for _, misses, same in scapi.batch(tasks, workers=2):
        assert misses == 1 and same
    assert max(len(pickle.dumps(task)) for task in tasks) < 1000


def test_a_file_that_is_another_in_the_worker(stl):
    file = scapi.MeshFile(stl)
    stl.write_bytes(stl.read_bytes()[:-2] + b"\1\0")
    with pytest.raises(errors.ChangedFileError, match="cube.stl"):
        file.load()
    with pytest.raises(errors.MeshFileError, match="missing.stl"):
        scapi.MeshFile(stl.with_name("missing.stl"))


def test_progress_that_ends_elsewhere(stl, capsys):
    scapi.batch(jobs.sweep(stl), workers=1, progress=True)
    assert f"{jobs.COUNT} of {jobs.COUNT} tasks" in capsys.readouterr().err


def test_a_dask_cluster_with_a_killed_worker(stl, tmp_path, expected):
    distributed = pytest.importorskip("distributed")
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                                  dashboard_address=None,
                                  local_directory=str(tmp_path)) as cluster, \
            distributed.Client(cluster) as client, client.get_executor() as executor:
        with pytest.warns(scapi.WorkerLostWarning, match="worker tcp://.* is gone"):
            results = scapi.batch(jobs.sweep_with_a_death(stl, tmp_path / "mark"), executor)
        assert jobs.digest(results) == expected and (tmp_path / "mark").exists()


def test_workers_of_mpi(stl, expected):
    if not shutil.which("mpirun"):
        pytest.skip("there is no mpirun")
    pytest.importorskip("mpi4py")
    command = ["mpirun", "--oversubscribe", "-n", "3", sys.executable, "-m", "mpi4py.futures",
               HERE / "mpi_sweep.py", stl]
    if os.geteuid() == 0:
        command.insert(1, "--allow-run-as-root")
    path = os.pathsep.join(filter(None, [str(HERE), os.environ.get("PYTHONPATH")]))
    done = subprocess.run(command, env=os.environ | {"PYTHONPATH": path}, capture_output=True,
                          text=True, timeout=120)
    assert done.stdout.strip() == expected, done.stderr


WAITS = """
import jobs, scapi
if __name__ == "__main__":
    scapi.batch([scapi.Task(jobs.wait_long) for _ in range(4)], workers=2)
"""


def test_ctrl_c_that_leaves_processes_behind(tmp_path):
    script = tmp_path / "waits.py"
    script.write_text(WAITS)
    path = os.pathsep.join(filter(None, [str(HERE), os.environ.get("PYTHONPATH")]))
    process = subprocess.Popen([sys.executable, script], env=os.environ | {"PYTHONPATH": path},
                               stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                               start_new_session=True)
    try:
        workers = [int(process.stdout.readline()) for _ in range(2)]
        os.killpg(process.pid, signal.SIGINT)  # as a terminal does
        _, said = process.communicate(timeout=100)
    except BaseException:
        os.killpg(process.pid, signal.SIGKILL)
        raise
    assert process.returncode != 0 and "KeyboardInterrupt" in said
    assert not any(pathlib.Path("/proc", str(worker)).exists() for worker in workers)
