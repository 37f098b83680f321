#!/usr/bin/env python3
"""docs/reference.py names each departure from the form of comments, and writes pages that can be read."""
import pathlib
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "docs"))
sys.dont_write_bytecode = True

import reference  # noqa: E402
import reference_pages  # noqa: E402
import reference_sources  # noqa: E402

GOOD = {"c": '''
/* A head. */
#include <stdint.h>

/* ---- Queries ---- */

/*
 * State of a satellite; see docs/threads.md.
 *
 *   satKey  in   key of the satellite
 *   mse     in   minutes since
 *                the first point
 *   pos     out  [3] km
 *
 * Returns 0; 2 if not.
 * Messages: "FindRecPtr: ...".
 * Cost: O(log n).
 *
 * The terms:
 *
 *   A_B  the first, which
 *        goes on
 */
int32_t VorlanMse(int64_t satKey, double mse, double pos[3]);

/*
 * As VorlanMse, with a matrix.
 *
 *   cov  out  [n][6] km
 */
int32_t VorlanMseCov(int64_t satKey, double mse, double pos[3],
                     double cov[][6]);

/* Closes it. */
void VorlanClose(void);
''', "cpp": '''
// A head.
#include <span>

namespace x {

namespace detail {
inline int hidden(int x) { return x; }
}  // namespace detail

// ---- Satellites ----

// A satellite.
class Satellite {
public:
    explicit Satellite(int key = (0)) : key_(key) {}

    // States at many times.
    //
    //   states  out  [n] km
    int try_states(std::span<const int> times, std::span<int> states) const {
        return times.size();
    }
    void states(std::span<const int> times, std::span<int> states) const { try_states(times, states); }

private:
    int secret() const { return 0; }
};

// States of many satellites, otherwise as Satellite::try_states.
inline int try_states(std::span<int> states) noexcept { return 1; }

}  // namespace x
''', "fortran": '''
! A head.
module x
    ! ---- States ----

    ! The state at a time.
    !
    !   key     in   satellite
    !   state   out  (6) km
    interface vorlan_state
        module procedure by_key
    end interface
    private :: by_key

    interface
        ! Closes it.
        subroutine VorlanClose() bind(c, name="VorlanClose")
        end subroutine
    end interface
contains
    subroutine by_key(key, state)
        integer, intent(in) :: key
        real(c_double), intent(out) :: state(6)
    end subroutine
end module
'''}

# What is changed in the good source, and what is then said.
CASES = [
    ("c", " *   satKey  in   key of the satellite\n", "", "VorlanMse: the argument satKey is missing"),
    ("c", "   satKey  in ", "   satKee  in ", "VorlanMse: satKee, which it describes, is not an argument"),
    ("c", "/* Closes it. */\n", "", "VorlanClose: there is no comment"),
    ("c", "/* Closes it. */\n", "/* Closes it. */\n\n", "VorlanClose: there is no comment"),
    ("c", "/* Closes it. */", "/* closes it. */", "VorlanClose: the comment does not begin with a sentence"),
    ("c", "/* Closes it. */", "/* Closes it */", "VorlanClose: the comment does not begin with a sentence"),
    ("c", "satKey  in   key", "satKey  out  key", "VorlanMse: the argument satKey is in, not out"),
    ("c", "satKey  in   key", "satKey       key", "VorlanMse: the argument satKey is missing"),
    ("c", "[3] km", "[4] km", "VorlanMse: the description of pos does not begin with the shape, [3]"),
    ("c", "[n][6]", "[6]", "VorlanMseCov: the description of cov does not begin with the shape, [n][6]"),
    ("c", "[3] km", "[3] metres", "VorlanMseCov: the description of pos has no unit"),
    ("c", " * Returns 0; 2 if not.\n", "", "VorlanMseCov: a line that begins with Returns is missing"),
    ("c", "/* Closes it. */", "/* Returns 0. */", "VorlanClose: it has Returns, but no result"),
    ("c", "2 if not.\n * Messages", "2 if not. Messages", "VorlanMse: Messages does not begin a line"),
    ("c", "Messages:", "Threads: all.\n * Messages:", "VorlanMse: the parts are not in the order"),
    ("c", "Cost:", "Cost: none.\n * Cost:", "VorlanMse: the parts are not in the order"),
    ("c", "As VorlanMse,", "As VorlanNse,", "VorlanMseCov: VorlanNse, which it mentions, is not declared"),
    ("c", "docs/threads.md", "docs/thread.md", "VorlanMse: docs/thread.md, which it mentions, does not exist"),
    ("c", "VorlanMseCov(", "VORLANMSE(", "VORLANMSE: something else has the same name, but for capitals"),
    ("c", "double pos[3]);", "double pos[3 + 1]);", "good:24: this is not understood: double pos[3 + 1]"),
    ("c", "void VorlanClose(void)", "int32_t (*VorlanClose(void))[3]", "good:35: this is not understood"),
    ("cpp", "states  out", "state  out", "Satellite::try_states: the argument states is missing"),
    ("cpp", "    // States at many times.\n", "    //\n", "Satellite::try_states: the comment does not begin"),
    ("cpp", "// A satellite.\n", "", "good:13: Satellite: there is no comment"),
    ("cpp", "void states", "void stats", "good:24: Satellite::stats: there is no comment"),
    ("cpp", "as Satellite::try", "as Satelite::try", "try_states: Satelite::try_states, which it mentions, is not"),
    ("fortran", "key     in ", "keys    in ", "vorlan_state: keys, which it describes, is not an argument"),
    ("fortran", "(6) km", "km", "vorlan_state: the description of state does not begin with the shape, ("),
    ("fortran", "Closes it", "Closes this", "VorlanClose: the comment is not the first sentence"),
    ("fortran", ":: key", ":: kee", "good:21: this is not understood: ['key']"),
    ("fortran", "    private :: by_key\n", "", "by_key: there is no comment"),
]

# What the pages of the good sources have, and what not.
PAGES = [
    ("c.md", "(c-vorlanmsecov)=\n### `VorlanMseCov`\n\n```c\nint32_t", True),
    ("c.md", "As {ref}`VorlanMse <c-vorlanmse>`, with a matrix.\n\n| argument | | |\n|---|---|---|\n"
             "| `satKey` | in | key of the satellite |\n| `mse` | in | minutes since the first point |\n"
             "| `pos` | out | \\[3\\] km |\n| `cov` |", True),
    ("c.md", "State of a satellite; see {doc}`/threads`.\n", True),
    ("c.md", "Returns 0; 2 if not.\n\n*Messages:* `\"FindRecPtr: ...\"`.\n", True),
    ("c.md", "| `A_B` | the first, which goes on |\n", True),
    ("cpp.md", "### `Satellite::states`, `Satellite::try_states`\n", True),
    ("cpp.md", "    explicit Satellite(int key = (0));\n};", True),
    ("cpp.md", "hidden", False),
    ("cpp.md", "secret", False),
    ("fortran.md", "subroutine vorlan_state(key, state)\n    integer, intent(in) :: key\n", True),
    ("fortran.md", "by_key", False),
    ("fortran.md", "Described with the C function, {ref}`VorlanClose <c-vorlanclose>`", True),
    ("VorlanMseCov.3", "VorlanMseCov \\- as VorlanMse, with a matrix\n", True),
    ("VorlanMseCov.3", "\n.TP\n\\fIpos\\fR (out)\n[3] km\n.TP\n\\fIcov\\fR", True),
    ("VorlanMseCov.3", ".SH RETURN VALUE\nReturns 0; 2 if not.\n.SH MESSAGES\n\"FindRecPtr: ...\".\n.SH COST\n", True),
    ("VorlanMse.3", ".SH NOTES\n.PP\nThe terms:\n.TP\n\\fBA_B\\fR\nthe first, which goes on\n", True),
    ("libvorlandi.3", ".SS Queries\n.TP\n\\fBVorlanMse\\fR(3)\nState of a satellite\n", True),
]


def faults(sources):
    try:
        return list(reference.Reference([(language, "good", text) for language, text in sources.items()]).faults())
    except reference_sources.NotUnderstood as fault:
        return [str(fault)]


def main():
    failed = [f"the good sources: {fault}" for fault in faults(GOOD)]
    for language, old, new, expected in CASES:
        assert old in GOOD[language], old
        found = faults({**GOOD, language: GOOD[language].replace(old, new, 1)})
        if not any(expected in fault for fault in found):
            failed.append(f"{language}, {old!r} -> {new!r}: wanted {expected!r}, found {found}")
    good = reference.Reference([(language, f"include/{language}", text) for language, text in GOOD.items()])
    pages = dict(reference_pages.markdown(good) + reference_pages.manuals(good, "1.0"))
    failed += [f"{page}: {'lacks' if wanted else 'has'} {text!r}" for page, text, wanted in PAGES
               if (text in pages[page]) != wanted]
    with tempfile.TemporaryDirectory() as folder:  # the pages of the library itself
        subprocess.run([ROOT / "docs/reference.py", "--man", folder], check=True)
        manuals = sorted(pathlib.Path(folder).glob("*.3"))
        warned = subprocess.run(["groff", "-man", "-ww", "-z", "-Tutf8", *manuals], check=False, text=True,
                                capture_output=True)
        failed += [warned.stderr] if warned.stderr or not manuals else []
    print(*failed, sep="\n", end="\n" if failed else "")
    print(f"{len(CASES)} departures and {len(PAGES)} parts of pages, {len(manuals)} manual pages")
    return 1 if failed else 0


sys.exit(main())
