# Completion of vqloan for bash. What it offers is what the program's own help says.
_vqloan_words() # SECTION-PATTERN: the first words of the indented lines below a heading of the help on standard input
{
    awk -v section="$1" '/^[^ ]/ { inside = $0 ~ section } inside && /^ / { print $1 }'
}

_vqloan()
{
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]}
    COMPREPLY=()
    case $previous in
    --kind)
        mapfile -t COMPREPLY < <(compgen -W "$("${COMP_WORDS[0]}" "$command" --help 2>/dev/null |
            sed -n 's/^ *Back end: //p' | sed 's/([^)]*),\{0,1\}//g')" -- "$current")
        return
        ;;
    --site | --exchange | site)
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -d -- "$current")
        return
        ;;
    --services)
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
        ;;
    esac
    if [ "$COMP_CWORD" = 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W "$("${COMP_WORDS[0]}" --help 2>/dev/null | _vqloan_words '^Subcommands')" -- "$current")
    elif [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$("${COMP_WORDS[0]}" "$command" --help 2>/dev/null | grep -oE -- '--[a-z-]+' | sort -u)" -- "$current")
    else
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    fi
}
complete -F _vqloan vqloan
