# Shared by the scripts of this project; sourced, never run.

say()
{
    printf '\033[1m==\033[0m %s\n' "$*" >&2
}

die()
{
    printf 'qx: %s\n' "$*" >&2
    exit 1
}
