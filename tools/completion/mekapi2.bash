# Completes options, their values and files for the programs of MekApi2, in bash.
#
# Options and the kinds of their values come from --help: "--output FILE", "--vtu DIR",
# "--format csv|npy|raw". The file is installed under the name of each program.

# $1: program, $2: option. Prints what --help shows after the option, such as "FILE".
_mekapi2_value() {
    "$1" --help 2>/dev/null | sed -nE "s/^ +(-[[:alpha:]], )?$2( ([^ ]+))?( .*)?$/\3/p" | head -n 1
}

_mekapi2_options() {
    "$1" --help 2>/dev/null | sed -nE 's/^ +(-[[:alpha:]], )?(--[[:alnum:]-]+).*/\2/p'
}

# $1: program, $2: start of a path. Prints folders and input files of the program.
_mekapi2_files() {
    local suffix=mek
    case ${1##*/} in
        frd2mek) suffix=frd ;;
        mekrecover | mekapi2-convert) suffix= ;;
    esac
    compgen -d -- "$2"
    if [ -n "$suffix" ]; then
        compgen -f -X "!*.$suffix" -- "$2"
    else
        compgen -f -- "$2"
    fi
}

_mekapi2() {
    local program=$1 word=${COMP_WORDS[COMP_CWORD]} option=${COMP_WORDS[COMP_CWORD - 1]} value=
    # "--vtu=a" is three words
    if [[ $word == '=' ]]; then
        word=
    elif [[ $option == '=' && $COMP_CWORD -ge 2 ]]; then
        option=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    [[ ! $option =~ ^--[[:alnum:]-]+$ ]] || value=$(_mekapi2_value "$program" "$option")
    mapfile -t COMPREPLY < <(
        case $value in
            *'|'*) compgen -W "${value//|/ }" -- "$word" ;;
            DIR) compgen -d -- "$word" ;;
            FILE) compgen -f -- "$word" ;;
            [[:upper:]]*) ;; # a name or a number
            *)
                if [[ $word == -* ]]; then
                    compgen -W "$(_mekapi2_options "$program")" -- "$word"
                else
                    _mekapi2_files "$program" "$word"
                fi
                ;;
        esac
    )
}

complete -o filenames -F _mekapi2 frd2mek mekinfo mekrecover mekdiff mekapi2-convert
