# Completion of penctl and pensim in bash. What can be typed is read from the programs' own help.

# _zel_listed SECTION: the names that the section of the help on standard input lists.
_zel_listed() { awk -v section="$1" '/^[^ ].*:$/ { on = index($0, section) == 1; next } on && /^  [^ ]/ { print $1 }'; }

_zel() {
    local program=$1 current=$2 previous=$3 help word names commands=()
    help=$("$program" --help 2>/dev/null)
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if _zel_listed Subcommands <<<"$help" | grep -qxFe "$word"; then
            commands+=("$word")
            help=$("$program" "${commands[@]}" --help 2>/dev/null)
        fi
    done
    # An option with a value: a word in capitals stands behind its names. File names are offered then.
    if grep -qE -e "^  (-[A-Za-z],)?$previous [A-Z]" -e "^  $previous,[^ ]* [A-Z]" <<<"$help"; then
        return
    fi
    case $current in
        -*) names=$(_zel_listed Options <<<"$help" | tr , '\n') ;;
        *) names=$(_zel_listed Subcommands <<<"$help"; _zel_listed Settings <<<"$help") ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$names" -- "$current")
}

complete -o default -F _zel penctl pensim
