"""Switches and threads: the kept connection, calls from several threads."""

import concurrent.futures
import os

import tovak


def open_sockets():
    return sum("socket:" in os.path.realpath(f"/proc/self/fd/{fd}") for fd in os.listdir("/proc/self/fd"))


def test_kept_open_keeps_one_index_connection_until_the_outer_block_ends():
    before = open_sockets()
    tovak.link("Magnetics", 120100, 1, 1, 3)
    assert open_sockets() == before
    with tovak.kept_open():
        with tovak.kept_open():
            tovak.link("Magnetics", 120100, 1, 1, 3)
        tovak.timebase("Magnetics", 120100, 1, 1, 3, samples=4)
        assert open_sockets() == before + 1
    assert open_sockets() == before


def test_threads_get_the_answers_of_one_thread():
    def lookups(n):
        key = ("Magnetics", 120100, 1, 1 + n % 2, 1 + n % 8)
        axis = tovak.timebase(*key, samples=1000, single=n % 3 == 0).axis
        params = tovak.parameters("fdts01", "DMODSS0", 120100, 1, 1 + n % 8)
        return axis.dtype, axis.tobytes(), tovak.link(*key), params

    serial = [lookups(n) for n in range(24)]
    with tovak.kept_open(), concurrent.futures.ThreadPoolExecutor(6) as pool:
        assert list(pool.map(lookups, range(24))) == serial
