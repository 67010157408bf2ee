# shellcheck shell=bash
# Sourced by the scripts: their first comment is their help.

# print_first_comment: that of the script
print_first_comment() { sed -n '2,/^[^#]/s/^#\( \|$\)//p' "$0"; }

# print_help: a script may define its own
print_help() { print_first_comment; }

# help_if_asked ARGUMENT...: prints the help and exits if an argument asks for it
help_if_asked() {
    local argument
    for argument in "$@"; do
        case $argument in
            -h | --help) print_help; exit 0 ;;
        esac
    done
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
