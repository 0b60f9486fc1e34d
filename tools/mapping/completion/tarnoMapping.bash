# Bash completion for tarnoMapping: source it, or copy it to /usr/share/bash-completion/completions/tarnoMapping.

_tarnoMapping() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local command='' words
    ((COMP_CWORD > 1)) && command=${COMP_WORDS[1]}

    case $previous in
    -o | --output | --baseline | --mib | --junit)
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
        ;;
    --rows)
        mapfile -t COMPREPLY < <(compgen -W '4 8' -- "$current")
        return
        ;;
    --exit-code)
        mapfile -t COMPREPLY < <(compgen -W 'any breaking none' -- "$current")
        return
        ;;
    --exporter)
        mapfile -t COMPREPLY < <(compgen -W '0.21 0.23 0.25' -- "$current")
        return
        ;;
    --base | --job | --limit | --snmp)
        COMPREPLY=()
        return
        ;;
    esac

    case $command in
    '')
        words='build import show check mib html prometheus telegraf zabbix alarms diff simulate verify help'
        words+=' --help --version'
        ;;
    help) words='build import show check mib html prometheus telegraf zabbix alarms diff simulate verify help --help' ;;
    build) words='-o --output --force --help' ;;
    import) words='-o --output --base --help' ;;
    show) words='--base --rows --json --csv --help' ;;
    check) words='--base --baseline --json --quiet --sarif --rules --mib --help' ;;
    prometheus) words='-o --output --base --rows --exporter --rules --job --help' ;;
    zabbix) words='-o --output --base --rows --no-fallback --help' ;;
    mib | html | telegraf | alarms | simulate) words='-o --output --base --rows --help' ;;
    diff) words='--base --rows --json --exit-code --help' ;;
    verify)
        words='--base --rows --write --probe --limit --json --table --junit --rules --help'
        words+=' --snmp -v -c -u -l -a -A -x -X -t -r'
        ;;
    *) words='' ;;
    esac

    if [[ -z $command || $command == help || $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
    else
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    fi
}

complete -o filenames -F _tarnoMapping tarnoMapping
