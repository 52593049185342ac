# bash completion for trellium
_trellium() {
    local cur prev
    cur=${COMP_WORDS[COMP_CWORD]}
    prev=${COMP_WORDS[COMP_CWORD-1]}
    local command=${COMP_WORDS[1]}

    if [[ $COMP_CWORD -eq 1 ]]; then
        COMPREPLY=($(compgen -W "crawl parse sites run --help --version" -- "$cur"))
        return
    fi
    case $command in
    crawl)
        case $prev in
        --format)
            COMPREPLY=($(compgen -W "text json markdown junit" -- "$cur"))
            return ;;
        --report)
            local kinds="flat-csv flat-tsv flat-html bad-csv bad-html by-link-csv by-link-html by-page-csv by-page-html"
            if [[ $cur == *=* ]]; then
                compopt -o filenames 2>/dev/null
                COMPREPLY=($(compgen -f -- "${cur#*=}"))
            else
                compopt -o nospace 2>/dev/null
                COMPREPLY=($(compgen -W "$kinds" -S = -- "$cur"))
            fi
            return ;;
        --json)
            compopt -o filenames 2>/dev/null
            COMPREPLY=($(compgen -f -- "$cur"))
            return ;;
        --threads|--timeout|--delay|--user-agent|--header|--do-not-check|--do-not-follow|--only-follow|\
        --links-limit|--levels-limit|--soft-404-term)
            return ;;
        esac
        if [[ $cur == -* ]]; then
            COMPREPLY=($(compgen -W "--help --help-all --version --format --quiet --verbose --json --report
                --bad-only --threads --timeout --delay --user-agent --header --images --ignore-query
                --keep-slash --single-page --nofollow --error-pages --unique-titles --hash-is-bad
                --no-external --do-not-check --do-not-follow --only-follow --check-content --robots-txt
                --links-limit --levels-limit --soft-404 --soft-404-term" -- "$cur"))
        else
            compopt -o filenames 2>/dev/null
            COMPREPLY=($(compgen -f -- "$cur"))
        fi
        ;;
    parse)
        if [[ $prev == --encoding ]]; then
            return
        fi
        if [[ $cur == -* ]]; then
            COMPREPLY=($(compgen -W "--help --version --images --trim --encoding --verbose" -- "$cur"))
        else
            compopt -o filenames 2>/dev/null
            COMPREPLY=($(compgen -f -- "$cur"))
        fi
        ;;
    sites)
        if [[ $COMP_CWORD -eq 2 ]]; then
            COMPREPLY=($(compgen -W "add rename set-url delete export show set --help --version" -- "$cur"))
        elif [[ ${COMP_WORDS[2]} == export && $COMP_CWORD -eq 4 ]]; then
            compopt -o filenames 2>/dev/null
            COMPREPLY=($(compgen -f -X '!*.lcsettings' -- "$cur"))
        fi
        ;;
    run)
        compopt -o filenames 2>/dev/null
        COMPREPLY=($(compgen -f -X '!*.lcsettings' -- "$cur") $(compgen -d -- "$cur"))
        ;;
    esac
}
complete -F _trellium trellium
