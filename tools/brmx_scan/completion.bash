# bash completion for brmx-scan

_brmx_scan() {
    local current=$2 previous=$3
    local when='auto always never'
    COMPREPLY=()
    # The shell takes an option, "=" and a value for three words.
    if [[ $current == '=' ]]; then
        current=
    elif [[ $previous == '=' ]]; then
        previous=${COMP_WORDS[COMP_CWORD-2]}
    fi
    case $previous in
        --color | --mbox | --summary)
            if [[ ${COMP_WORDS[COMP_CWORD]} == '=' || ${COMP_WORDS[COMP_CWORD-1]} == '=' ]]; then
                mapfile -t COMPREPLY < <(compgen -W "$when" -- "$current")
                return
            fi
            ;;
        --state)
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            return
            ;;
        --community)
            mapfile -t COMPREPLY < <(compgen -A hostname -- "$current")
            return
            ;;
        --credentials | --fail-above | --jobs | --rediscover | --timeout) return ;;
    esac
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W '--color --community --credentials --fail-above --health --help --jobs --json
            --languages --mbox --rediscover --report --revoke --sort --state --summary --timeout --trace --version' \
            -- "$current")
    fi
}

complete -o bashdefault -o default -F _brmx_scan brmx-scan
