# Completion in fish for tessel and tessel-desktop: what the program's own --help says of the command typed so far.

# Prints what a help text on standard input lists, as word and explanation: subcommands, operations and options; of
# `model decode` the types.
function __tessel_words
    awk -v path="$argv" '
        /^Operation decode/ { if (path == "model") print "decode\t" }
        /^[A-Z].*:$/ { listed = path == "model decode" ? /^Operation decode/ : /^(Subcommands|Operations):/; next }
        /^$/ { listed = 0 }
        function explanation() { return substr($0, 31) }
        listed { print $1 "\t" explanation() }
        match($0, /^ +(-[a-z],)?--[a-z-]+/) { word = $1; sub(/.*--/, "--", word); print word "\t" explanation() }'
end

function __tessel_complete
    set -l typed (commandline --current-process --tokenize --cut-at-cursor)
    set -l program $typed[1]
    set -l path
    set -l help ($program --help 2>/dev/null); or return
    set -l words (printf '%s\n' $help | __tessel_words)
    for word in $typed[2..]
        string match --quiet --regex '^[a-z]' -- $word; or continue
        string match --quiet --regex "^$(string escape --style=regex -- $word)\t" -- $words; or continue
        set --append path $word
        set help ($program $path --help 2>/dev/null); or return
        set words (printf '%s\n' $help | __tessel_words $path)
    end
    # An option that takes a value is followed in its line by the value's name, and by the choices where it has some.
    if string match --quiet -- '--*' $typed[-1]
        set -l line (string match --regex -- "^ +(?:-[a-z],)?$typed[-1] [A-Z].*" $help)
        if set -l choices (string match --regex --groups-only -- ':\{(.*)\}' $line)
            string split , $choices
            return
        else if test -n "$line"
            __fish_complete_path (commandline --current-token)
            return
        end
    end
    printf '%s\n' $words
    if string match --quiet --regex '^  FILE' $help
        __fish_complete_path (commandline --current-token)
    end
end

for program in tessel tessel-desktop
    complete --command $program --no-files --arguments '(__tessel_complete)'
end
