"""Long runs: progress, interrupts, threads, forks, and memory over many calls."""
import gc
import os
import resource
import signal
import subprocess
import sys
import threading
import time

import numpy
import pytest
from conftest import random_volume

import tavi


def long_run(**arguments):
    """Seconds of work in many slices."""
    volume = random_volume("float32", (120, 120, 120))
    return tavi.erosion(volume, random_mask(), anchor="center", threads=1, **arguments)


def random_mask():
    mask = (numpy.random.default_rng(5).random((19, 19, 19)) < 0.5).astype("uint8")
    mask[9, 9, 9] = 1
    return mask


def test_progress_is_reported_at_most_ten_times_a_second():
    reports = []
    start = time.monotonic()
    volume = random_volume("uint16", (150, 200, 200))
    tavi.histogram_update_median(volume, tavi.ball(7), anchor="center", threads=1,
                                 progress=lambda share: reports.append((time.monotonic(), share)))
    seconds = time.monotonic() - start
    times, shares = zip(*reports)
    assert shares[-1] == 1.0
    assert list(shares) == sorted(shares) and shares[0] >= 0.0
    for begin in times:
        assert sum(begin <= each < begin + 1.0 for each in times) <= 10
    assert len(times) <= 10 * seconds + 1


def test_progress_of_a_short_run_ends_at_one():
    reports = []
    tavi.static_cast(random_volume("uint8"), progress=reports.append)
    assert reports == [1.0]


def test_a_bar_is_drawn(capsys):
    tavi.static_cast(random_volume("uint8"), progress=True)
    assert "static_cast" in capsys.readouterr().err
    tavi.static_cast(random_volume("uint8"), progress=False)
    assert capsys.readouterr().err == ""


def test_progress_that_is_no_function():
    with pytest.raises(TypeError, match="progress"):
        tavi.static_cast(random_volume("uint8"), progress="yes")


def test_what_the_progress_function_raises_ends_the_run():
    class Enough(Exception):
        pass

    def stop(share):
        raise Enough

    start = time.monotonic()
    with pytest.raises(Enough):
        long_run(progress=stop)
    full = time.monotonic() - start
    assert full < 60


def interrupt_soon(seconds):
    timer = threading.Timer(seconds, lambda: os.kill(os.getpid(), signal.SIGINT))
    timer.start()
    return timer


def test_an_interrupt_ends_the_run():
    timer = interrupt_soon(0.3)
    with pytest.raises(KeyboardInterrupt):
        for _ in range(100):
            long_run()
    timer.join()
    assert (tavi.static_cast(numpy.ones((2, 2, 2), "uint8")) == 1).all()


def test_a_handler_that_does_not_raise_lets_the_run_go_on():
    heard = []
    before = signal.signal(signal.SIGINT, lambda *_: heard.append(time.monotonic()))
    try:
        volume = random_volume("uint16", (100, 100, 100))
        timer = interrupt_soon(0.05)
        results = [tavi.histogram_update_median(volume, tavi.ball(5), anchor="center") for _ in range(3)]
        timer.join()
        time.sleep(0.01)
    finally:
        signal.signal(signal.SIGINT, before)
    assert heard
    assert all(numpy.array_equal(result, results[0]) for result in results)


def test_other_threads_run_meanwhile():
    counted = [0]
    done = threading.Event()

    def count():
        while not done.is_set():
            counted[0] += 1
            time.sleep(0.001)

    thread = threading.Thread(target=count)
    thread.start()
    before = counted[0]
    volume = random_volume("uint16", (100, 120, 120))
    tavi.histogram_update_median(volume, tavi.ball(7), anchor="center", threads=1)
    during = counted[0] - before
    done.set()
    thread.join()
    assert during > 5


def test_threads_of_python_run_operators_side_by_side():
    volumes = [random_volume("uint16", (20, 30, 40), seed=i) for i in range(8)]
    expected = [tavi.erosion(volume, tavi.ball(3), anchor="center") for volume in volumes]
    wrong = []

    def work(index):
        for _ in range(20):
            result = tavi.erosion(volumes[index], tavi.ball(3), anchor="center", threads=2)
            if not numpy.array_equal(result, expected[index]):
                wrong.append(index)

    threads = [threading.Thread(target=work, args=(i,)) for i in range(8)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not wrong


def test_a_count_of_threads_holds_for_one_call():
    code = """
import numpy, tavi
volume = numpy.ones((64, 64, 64), "uint16")
def most_threads():
    with open("/proc/self/status") as status:
        return int(next(line for line in status if line.startswith("Threads:")).split()[1])
loaded = most_threads()
tavi.erosion(volume, tavi.ball(3), threads=1)
before = most_threads()
assert before <= loaded + 1, (loaded, before)
tavi.erosion(volume, tavi.ball(3))
assert most_threads() >= before + 4, (before, most_threads())
"""
    environment = {**os.environ, "OMP_NUM_THREADS": "5"}
    run = subprocess.run([sys.executable, "-c", code], env=environment, timeout=60, capture_output=True, text=True,
                         check=False)
    assert run.returncode == 0, run.stderr


def test_failures_on_many_threads():
    failures = []

    def work():
        for _ in range(50):
            try:
                tavi.maximum(numpy.zeros((2, 2, 2), "uint8"), numpy.zeros((3, 2, 2), "uint8"))
            except tavi.Error as error:
                failures.append(str(error))

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert len(failures) == 200 and len(set(failures)) == 1


def test_a_forked_process_runs_operators():
    volume = random_volume("uint16", (40, 40, 40))
    expected = tavi.erosion(volume, tavi.ball(3), anchor="center", threads=2)
    child = os.fork()
    if child == 0:
        result = tavi.erosion(volume, tavi.ball(3), anchor="center", threads=2)
        os._exit(0 if numpy.array_equal(result, expected) else 1)
    deadline = time.monotonic() + 60
    while time.monotonic() < deadline:
        ended, status = os.waitpid(child, os.WNOHANG)
        if ended:
            assert status == 0
            return
        time.sleep(0.02)
    os.kill(child, signal.SIGKILL)
    os.waitpid(child, 0)
    pytest.fail("the forked process hangs")


def resident():
    gc.collect()
    with open("/proc/self/statm", encoding="ascii") as file:
        return int(file.read().split()[1]) * resource.getpagesize()


def test_many_calls_need_no_more_memory():
    volume = random_volume("uint16", (8, 16, 32))

    def calls(count):
        for _ in range(count):
            tavi.saturation(volume, lower_limit=100, upper_limit=4000)
            tavi.saturation(volume[::-1, 2:9], lower_limit=100, upper_limit=4000, out=(6, 7, 32))
            tavi.extreme_value_calculation(volume)
            try:
                tavi.saturation(volume, lower_limit=-1, upper_limit=4000)
            except ValueError:
                pass

    calls(500)
    before = resident()
    objects = len(gc.get_objects())
    calls(2500)
    assert resident() - before < 4 << 20
    assert len(gc.get_objects()) - objects < 100


def test_the_interpreter_ends_while_results_and_threads_live():
    code = """
import numpy, tavi, threading, time
volume = numpy.ones((60, 60, 60), "uint16")
kept = tavi.static_cast(volume)
held = [kept, lambda: held]
held.append(held)
threading.Thread(target=lambda: [tavi.erosion(volume, tavi.ball(5)) for _ in range(1000)], daemon=True).start()
time.sleep(0.1)
"""
    assert subprocess.run([sys.executable, "-c", code], timeout=60, check=False).returncode == 0


def test_operators_run_while_the_interpreter_ends():
    code = """
import atexit
def late():
    volume = numpy.ones((60, 60, 60), "uint16")
    assert (tavi.erosion(volume, tavi.ball(3)) == 1).all()
    assert (tavi.static_cast(numpy.ones((2, 2, 2), "uint16")) == 1).all()
    print("late")
atexit.register(late)
import numpy, tavi
"""
    run = subprocess.run([sys.executable, "-c", code], timeout=60, capture_output=True, text=True, check=False)
    assert (run.returncode, run.stdout) == (0, "late\n"), run.stderr
