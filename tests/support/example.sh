# What the tests of example hosts share; sourced by them.
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

# eventually WHAT COMMAND...: half a minute for the command to become true.
eventually() {
    local end=$((SECONDS + 30))
    while ((SECONDS < end)); do
        "${@:2}" > /dev/null 2>&1 && return
        sleep 0.1
    done
    fail "never saw $1; there is: $(tail -n 3 "$work/out" 2> /dev/null)"
}
