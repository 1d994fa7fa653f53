# Completion of the example programs for bash: the commands and options that --help tells.

_utilities_example() {
    local program=${1/#\~/$HOME} word=$2 previous=$3 help line value="" options=()
    local option='^ +(-(.), )?(--[a-z0-9-]+)( ([A-Z]+))?( |$)'
    help=$("$program" --help 2>/dev/null) || return
    if [[ $help == "usage: "*" COMMAND "* ]]; then
        if ((COMP_CWORD == 1)); then
            options=(--help --version)
            while read -r line _; do
                options+=("$line")
            done < <(grep -E '^  [a-z]' <<<"$help")
            mapfile -t COMPREPLY < <(compgen -W "${options[*]}" -- "$word")
            return
        fi
        help=$("$program" "${COMP_WORDS[1]}" --help 2>/dev/null) || return
    fi
    while IFS= read -r line; do
        [[ $line =~ $option ]] || continue
        options+=("${BASH_REMATCH[3]}")
        [[ $previous != "${BASH_REMATCH[3]}" && $previous != "-${BASH_REMATCH[2]}" ]] || value=${BASH_REMATCH[5]}
    done <<<"$help"
    case $value:$word in
    :-*) mapfile -t COMPREPLY < <(compgen -W "${options[*]}" -- "$word") ;;
    DIR:*) mapfile -t COMPREPLY < <(compgen -d -- "$word") ;;
    FILE:* | :*) mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
    esac
    [[ $value:$word == :-* ]] || compopt -o filenames 2>/dev/null || true
}
complete -F _utilities_example catalog portmon
