# shellcheck shell=bash
# Sourced by the scripts: their first comment is their help.

# print_help: the first comment of the script
print_help() { sed -n '2,/^[^#]/s/^#\( \|$\)//p' "$0"; }

# help_if_asked ARGUMENT...: prints the help and exits if the first argument asks for it
help_if_asked() {
    case ${1:-} in
        -h | --help) print_help; exit 0 ;;
    esac
}

# usage_error MESSAGE
usage_error() {
    local name
    name=$(basename "$0")
    echo "$name: $1; scripts/$name --help lists what is accepted" >&2
    exit 2
}

# no_arguments ARGUMENT...: prints the help if asked; any other argument is an error
no_arguments() {
    help_if_asked "$@"
    [ $# -eq 0 ] || usage_error "unexpected argument '$1'"
}
