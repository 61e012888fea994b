# Completion of vcam and rova for bash.  Verbs and options come from the programs themselves.

_vcam_options() {
    "$1" "${@:2}" --help 2>/dev/null | grep -oE -- '(^|[ ,])--?[A-Za-z][-A-Za-z]*' | tr -d ' ,' |
        sort -u
}

# The words that a verb's help lists as its subcommands.
_vcam_actions() {
    "$1" "$2" --help 2>/dev/null | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p'
}

# Files of the camera, by the names that they have there.
_vcam_camera_files() {
    local file
    compgen -f -- "$1$2" | while IFS= read -r file; do
        [[ -d $file ]] && file+=/
        printf '%s\n' "${file#"$1"}"
    done
}

# Of lines of words: those that may follow the words given, each once.
_vcam_words_behind() {
    awk -v given="$*" '
        index($0 " ", given " ") == 1 || given == "" {
            count = split(substr($0, length(given) + 1), words)
            last = split(given, unused) < 2 ? (count > 0) : count
            for (i = 1; i <= last; i++) if (!seen[words[i]]++) print words[i]
        }'
}

_vcam() {
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]} verb="" action="" at
    local camera=${ROVA_SYSROOT:-camera}
    COMPREPLY=()
    for ((at = 1; at < COMP_CWORD; at++)); do
        case ${COMP_WORDS[at]} in
        -C) camera=${COMP_WORDS[++at]} ;;
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
    --png | --rovad | --app | --data | --file | --out)
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
        [[ -n $(_vcam_actions "$1" "$verb") ]] && action=${COMP_WORDS[at + 1]}
        mapfile -t COMPREPLY < <(compgen -W "$(_vcam_options "$1" "$verb" ${action:+"$action"})" -- "$cur")
    elif [[ $verb == turn-camera ]]; then
        mapfile -t COMPREPLY < <(compgen -W "up right down left top bottom" -- "$cur")
    elif [[ $verb =~ ^(press|turn|dial)$ && $prev == "$verb" ]]; then
        mapfile -t COMPREPLY < <(compgen -W \
            "$("$1" "$verb" --list 2>/dev/null | awk '{ print $1 }')" -- "$cur")
    elif [[ $verb =~ ^(turn|dial)$ ]]; then
        mapfile -t COMPREPLY < <(compgen -W \
            "$("$1" "$verb" --list 2>/dev/null | sed -n "s/^$prev //p")" -- "$cur")
    elif [[ $verb == plug || $verb == unplug ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$("$1" "$verb" --list 2>/dev/null)" -- "$cur")
    elif [[ $verb == radio ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$("$1" radio --list 2>/dev/null |
            _vcam_words_behind "${COMP_WORDS[@]:at + 1:COMP_CWORD - at - 1}")" -- "$cur")
    elif [[ $verb == battery ]]; then
        mapfile -t COMPREPLY < <(compgen -W "drain" -- "$cur")
    elif [[ $verb == warm || $verb == state ]]; then
        return # numbers, and nothing
    elif [[ $verb == card ]]; then
        mapfile -t COMPREPLY < <(compgen -W "insert remove lock unlock" -- "$cur")
    elif [[ $verb == touch ]]; then
        [[ $prev == touch ]] && mapfile -t COMPREPLY < <(compgen -W "ghost" -- "$cur")
    elif [[ $prev == "$verb" && -n $(_vcam_actions "$1" "$verb") ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(_vcam_actions "$1" "$verb")" -- "$cur")
    elif [[ $verb == attr ]]; then
        compopt -o nospace 2>/dev/null
        mapfile -t COMPREPLY < <(_vcam_camera_files "$camera" "$cur")
    elif [[ $verb == adj && ${COMP_WORDS[at + 1]} =~ ^(get|set|list)$ ]]; then
        # Of "set", the name only: a value is nobody's word.
        [[ ${COMP_WORDS[at + 1]} == set && $prev != set && $prev != -* ]] && return
        mapfile -t COMPREPLY < <(compgen -W \
            "$("$1" -C "$camera" adj list 2>/dev/null | awk '{ print $2 }')" -- "$cur")
    elif [[ $verb == key && $prev != "$verb" ]]; then
        mapfile -t COMPREPLY < <(compgen -W \
            "$("$1" -C "$camera" key list 2>/dev/null | awk '$3 == "=" { print $2 }')" -- "$cur")
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
