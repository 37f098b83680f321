#!/usr/bin/env python3
"""A model of the store's guard: tries every interleaving of two readers and two writers.

Each atomic operation is a step. A reader's announcement and check, and a writer's raising of the flag and count, are
sequentially consistent in the library, so their interleavings are all executions that the C++ memory model allows.
Vector clocks follow the ordering by weaker operations: a read or write of the tree that is not ordered after the last
conflicting one is a data race. The safe mode must have no violation, the fixed mode has its known gap, and each
weakened variant of the safe mode must be detected, which shows that the model can fail.
"""
import sys

READERS, WRITERS = (0, 1), (2, 3)
THREADS = READERS + WRITERS
ZERO = (0,) * len(THREADS)


def join(a, b):
    return tuple(map(max, a, b))


class Violation(Exception):
    pass


class Model:
    """Executes single steps on a state: flag, count, mutex, what was released where, program counters and clocks."""

    def __init__(self, mode, weak=()):
        self.program = {"safe": self.safe_reader, "fixed": self.fixed_reader}[mode]
        self.weak = weak  # operations that order nothing: "leave", "lower"

    def step(self, state, thread):
        """The state after the next step of a thread; None if the thread has to wait or is at its end."""
        work = dict(state)
        work["clock"] = list(state["clock"])
        clock = list(work["clock"][thread])
        clock[thread] += 1
        work["clock"][thread] = tuple(clock)
        work["at"] = list(state["at"])
        run = self.program if thread in READERS else self.writer
        following = run(work, thread, state["at"][thread])
        if following is None:
            return None
        work["at"][thread] = following
        work["clock"], work["at"] = tuple(work["clock"]), tuple(work["at"])
        return work

    def acquire(self, work, thread, where):
        work["clock"][thread] = join(work["clock"][thread], work[where])

    def add(self, work, thread, amount, name):
        """Adds to the counter; an addition continues what earlier ones have released."""
        work["count"] += amount
        if name in self.weak:
            return
        if name == "announce":
            self.acquire(work, thread, "count_clock")
        work["count_clock"] = join(work["count_clock"], work["clock"][thread])

    def look(self, work, thread):
        self.acquire(work, thread, "flag_clock")
        return work["flag"] == 0

    def read_tree(self, work, thread):
        if work["changing"]:
            raise Violation("a reader is inside together with a writer")
        if join(work["written"], work["clock"][thread]) != work["clock"][thread]:
            raise Violation("a read races with an earlier change")
        work["read"] = join(work["read"], work["clock"][thread])

    def safe_reader(self, work, thread, at):
        if at in ("start", "again"):
            self.add(work, thread, 1, "announce")
            return "look"
        if at == "look":
            return "inside" if self.look(work, thread) else "back"
        if at == "back":
            self.add(work, thread, -1, "leave")
            return "wait"
        if at == "wait":
            return "again" if self.look(work, thread) else None
        return self.reader_inside(work, thread, at)

    def fixed_reader(self, work, thread, at):
        if at == "start":
            return "announce" if self.look(work, thread) else None
        if at == "announce":
            self.add(work, thread, 1, "announce")
            return "inside"
        return self.reader_inside(work, thread, at)

    def reader_inside(self, work, thread, at):
        if at == "inside":
            self.read_tree(work, thread)
            return "leave"
        if at == "leave":
            self.add(work, thread, -1, "leave")
            return "end"
        return None

    def writer(self, work, thread, at):
        if at == "start":
            if work["mutex"]:
                return None
            work["mutex"] = True
            self.acquire(work, thread, "mutex_clock")
            return "raise"
        if at == "raise":
            work["flag"], work["flag_clock"] = 1, work["clock"][thread]
            return "count"
        if at == "count":
            self.acquire(work, thread, "count_clock")
            return "begin" if work["count"] == 0 else None
        if at == "begin":
            if join(work["read"], work["clock"][thread]) != work["clock"][thread]:
                raise Violation("a change races with an earlier read")
            if join(work["written"], work["clock"][thread]) != work["clock"][thread]:
                raise Violation("a change races with an earlier one")
            work["changing"] = True
            return "change"
        if at == "change":
            work["changing"], work["written"] = False, work["clock"][thread]
            return "lower"
        if at == "lower":
            work["flag"] = 0
            work["flag_clock"] = ZERO if "lower" in self.weak else work["clock"][thread]
            return "unlock"
        if at == "unlock":
            work["mutex"], work["mutex_clock"] = False, work["clock"][thread]
            return "end"
        return None

    def explore(self):
        """Number of states and the first violation, None if there is none."""
        start = {"flag": 0, "count": 0, "mutex": False, "changing": False, "flag_clock": ZERO, "count_clock": ZERO,
                 "mutex_clock": ZERO, "written": ZERO, "read": ZERO, "at": ("start",) * 4, "clock": (ZERO,) * 4}
        seen, todo = set(), [start]
        while todo:
            state = todo.pop()
            key = tuple(state.values())
            if key in seen:
                continue
            seen.add(key)
            following = []
            for thread in THREADS:
                try:
                    following.append(self.step(state, thread))
                except Violation as violation:
                    return len(seen), str(violation)
            following = [state for state in following if state is not None]
            if not following and set(state["at"]) != {"end"}:
                return len(seen), "all that are left wait for each other"
            todo += following
        return len(seen), None


def main():
    failed = False
    for mode, weak, expected in (("safe", (), False), ("fixed", (), True), ("safe", ("leave",), True),
                                 ("safe", ("lower",), True)):
        states, violation = Model(mode, weak).explore()
        good = (violation is not None) == expected
        failed = failed or not good
        what = f"{mode} mode" + (f", {weak[0]} orders nothing" if weak else "")
        print(f"{'as expected' if good else 'WRONG'}: {what}: {violation or 'no violation'}, {states} states")
    return failed


if __name__ == "__main__":
    sys.exit(main())
