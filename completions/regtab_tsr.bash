# bash completion for regtab_tsr

_regtab_tsr() {
    local cur=${COMP_WORDS[COMP_CWORD]}
    local options='--json --csv --text --loaded --raw --all --help --version'
    local verbs='show list tables reset drops history diff'
    local tables='ports vlan fdb routes nexthop acl cloud class egid lag mpath mct rbridges policers'
    COMPREPLY=()
    if [[ $cur == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$cur")
        return
    fi
    # The words before this one, without options: the dump or "names", the verb, what the verb takes.
    local words=() word
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if [[ $word != -?* ]]; then
            words+=("$word")
        fi
    done
    case ${#words[@]}:${words[1]-} in
    0:*)
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -W names -- "$cur"; compgen -f -- "$cur")
        ;;
    1:*)
        if [[ ${words[0]} != names ]]; then
            mapfile -t COMPREPLY < <(compgen -W "$verbs" -- "$cur")
        fi
        ;;
    2:list) mapfile -t COMPREPLY < <(compgen -W "$tables" -- "$cur") ;;
    2:diff)
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$cur")
        ;;
    esac
}
complete -F _regtab_tsr regtab_tsr
