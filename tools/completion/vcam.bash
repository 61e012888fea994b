# Completion of vcam and rova for bash.  Verbs and options come from the programs themselves.

_vcam_options() {
    "$1" "${@:2}" --help 2>/dev/null | grep -oE -- '(^|[ ,])--?[A-Za-z][-A-Za-z]*' | tr -d ' ,'
}

# The words that a verb's help lists as its subcommands.
_vcam_actions() {
    "$1" "$2" --help 2>/dev/null | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p'
}

_vcam() {
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]} verb="" at
    COMPREPLY=()
    for ((at = 1; at < COMP_CWORD; at++)); do
        case ${COMP_WORDS[at]} in
        -C) ((at++)) ;;
        -*) ;;
        *)
            verb=${COMP_WORDS[at]}
            break
            ;;
        esac
    done
    case $prev in
    -C)
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -d -- "$cur")
        return
        ;;
    --png | --rovad | --data)
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$cur")
        return
        ;;
    esac
    if [[ -z $verb && $cur == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(_vcam_options "$1")" -- "$cur")
    elif [[ -z $verb ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$("$1" --list-verbs 2>/dev/null)" -- "$cur")
    elif [[ $cur == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(_vcam_options "$1" "$verb")" -- "$cur")
    elif [[ $verb == card ]]; then
        mapfile -t COMPREPLY < <(compgen -W "insert remove" -- "$cur")
    elif [[ $prev == "$verb" && -n $(_vcam_actions "$1" "$verb") ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(_vcam_actions "$1" "$verb")" -- "$cur")
    else
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$cur")
    fi
}

_rova() {
    COMPREPLY=()
    ((COMP_CWORD == 1)) || return
    mapfile -t COMPREPLY < <(compgen -W "$(_vcam_options "$1")" -- "${COMP_WORDS[COMP_CWORD]}")
}

complete -F _vcam vcam
complete -F _rova rova
