#!/usr/bin/env bash
# The checks of the source that need no build. Each rule prints what breaks it; any hit fails.
#
#   scripts/lint.sh format    layout by clang-format
#   scripts/lint.sh rules     the project's own rules
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/common.sh

failed=0

# report TITLE TEXT: a rule is broken when TEXT is not empty.
report()
{
    [ -n "$2" ] || return 0
    printf '%s\n%s\n' "$1" "$2"
    failed=1
}

sources()
{
    git ls-files --cached --others --exclude-standard -- "$@"
}

# grep that answers success without a match as well.
find_in()
{
    local pattern=$1
    shift
    sources "$@" | xargs -r grep -nE "$pattern" /dev/null || true
}

check_format()
{
    sources '*.cpp' '*.h' | xargs -r clang-format --dry-run --Werror || failed=1
}

check_rules()
{
    local product=('agent/*' 'Common/*' 'QxCommon/*' 'sdk/*' 'libs/*/*.cpp' 'libs/*/*.h' 'devkit/*')

    # What closes a handle is its owner's destructor, and nothing else.
    report 'a handle is closed outside the owners (VzComn_Handle.h and the classes that are owners):' "$(
        find_in '\b(CloseHandle|RegCloseKey|DestroyMenu|FreeLibrary|CloseServiceHandle|LocalFree)\(' "${product[@]}" |
            grep -vE '^(Common/VzCommon/VzComn_(Handle|Synchronize|Library|Service|Registry|FileBase|TerminalService)\.|Common/Framework/|libs/)|Deleter|^[^:]*:[0-9]+: *//' || true
    )"
    report 'a third-party header outside its one place:' "$(
        find_in '#include <json/' '*.cpp' '*.h' | grep -vE '^(QxCommon/QxCommon_Json[A-Za-z]*\.cpp|bench/)' || true
        find_in '#include <expat' '*.cpp' '*.h' | grep -v '^Common/VzCommon/' || true
    )"
    report 'printf of wide text goes through _vsnwprintf_s (String::Format), where %s is wide:' "$(
        find_in '\b(swprintf|vswprintf|snwprintf)\(' "${product[@]}"
    )"
    report 'an unfinished place:' "$(find_in '\b(TO[D]O|FIX[M]E|X[X]X|HA[C]K)\b' "${product[@]}" 'tests/*' 'bench/*')"
    report 'a path of the build machine:' "$(
        find_in '(^|[^A-Za-z0-9_.])/(w[o]rk|r[o]ot|h[o]me)/' . | grep -v '^scripts/lint.sh' || true
    )"
    report 'a source file of more than 400 lines:' "$(
        sources 'agent/*.cpp' 'agent/*.h' 'Common/*.cpp' 'Common/*.h' 'QxCommon/*' 'libs/*.cpp' 'libs/*.h' 'devkit/*.cpp' |
            grep -v '/tests/' | xargs -r wc -l | awk '$2 != "total" && $1 > 400'
    )"
    report 'a fixed wait in a test:' "$(
        find_in '\b(Sleep|sleep_for)\(' 'tests/unit/*.cpp' 'tests/integration/*.cpp' | grep -vE 'Fake|Sleep\(0\)' || true
        find_in '\btime\.sleep\(' 'tests/e2e/test_*.py'
    )"
}

case ${1:-} in
format) check_format ;;
rules) check_rules ;;
*) die "usage: scripts/lint.sh format|rules" ;;
esac
exit "$failed"
