# Completion in bash for tessel and tessel-desktop: what the program's own --help says of the command typed so far.

# Prints the subcommands, operations and options that a help text on standard input lists; of `model decode` the types.
_tessel_words() { # SUBCOMMAND…
    awk -v path="$*" '
        /^Operation decode/ { if (path == "model") print "decode" }
        /^[A-Z].*:$/ { listed = path == "model decode" ? /^Operation decode/ : /^(Subcommands|Operations):/; next }
        /^$/ { listed = 0 }
        listed { print $1 }
        match($0, /^ +(-[a-z],)?--[a-z-]+/) { sub(/.*--/, "--", $1); print $1 }'
}

_tessel() {
    local program=$1 current=$2 previous=$3 help words word path=()
    help=$("$program" --help 2>/dev/null) || return
    words=$(_tessel_words <<<"$help")
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        [[ $word == [a-z]* && $'\n'$words$'\n' == *$'\n'"$word"$'\n'* ]] || continue
        path+=("$word")
        help=$("$program" "${path[@]}" --help 2>/dev/null) || return
        words=$(_tessel_words "${path[@]}" <<<"$help")
    done
    if [[ $previous == --* ]]; then
        # An option that takes a value is followed in its line by the value's name, and by the choices where it has some.
        word=$(grep -E -- "^ +(-[a-z],)?$previous [A-Z]" <<<"$help")
        case $word in
            *:{*}*) word=${word#*:\{}; words=${word%%\}*}; words=${words//,/$'\n'} ;;
            *" $previous "[A-Z][A-Z]*) return ;; # a file, perhaps
        esac
    fi
    [[ $current == -* ]] || words=$(grep -v ^- <<<"$words") # where none is left, files
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}

complete -o default -F _tessel tessel tessel-desktop
