# bash completion for trellium

# Runs the trellium being completed (as typed, so a build tree's copy works too) with the given
# arguments; prints nothing when it is missing or fails.
_trellium_query() {
    local program=${COMP_WORDS[0]/#\~/$HOME}
    "$program" "$@" </dev/null 2>/dev/null
}

# A word as typed on the line, without its quotes and backslashes, as the program sees it.
_trellium_unquote() {
    local word=${1//\\/}
    word=${word#[\"\']}
    printf '%s' "${word%[\"\']}"
}

# Names of the stored sites, one a line (a name may hold spaces).
_trellium_sites() {
    local IFS=$'\n'
    COMPREPLY=($(compgen -W "$(_trellium_query sites list | cut -f1)" -- "$cur"))
}

_trellium() {
    local cur prev
    cur=${COMP_WORDS[COMP_CWORD]}
    prev=${COMP_WORDS[COMP_CWORD-1]}
    local command=${COMP_WORDS[1]}

    if [[ $COMP_CWORD -eq 1 ]]; then
        COMPREPLY=($(compgen -W "crawl sitemap validate seo spelling parse sites run prefs open diff --help --version" -- "$cur"))
        return
    fi
    case $command in
    crawl|sitemap|validate|seo|spelling|open)
        # Where = breaks words, "--report KIND=" reaches us as --report, KIND, =.
        if [[ $cur == = && ${COMP_WORDS[COMP_CWORD-2]} == --report ]]; then
            compopt -o filenames 2>/dev/null
            COMPREPLY=($(compgen -f -- ""))
            return
        fi
        case $prev in
        --format)
            COMPREPLY=($(compgen -W "text json markdown junit" -- "$cur"))
            return ;;
        --report)
            local kinds="flat-csv flat-tsv flat-html bad-csv bad-html by-link-csv by-link-html by-page-csv by-page-html
                sitemap-csv sitemap-html sitemap-tree-html validation-csv validation-html validation-report validation-bad
                seo-csv seo-html seo-report seo-bad duplicates-csv
                spelling-csv spelling-html spelling-report spelling-bad"
            if [[ $cur == *=* ]]; then
                compopt -o filenames 2>/dev/null
                COMPREPLY=($(compgen -f -- "${cur#*=}"))
            else
                compopt -o nospace 2>/dev/null
                COMPREPLY=($(compgen -W "$kinds" -S = -- "$cur"))
            fi
            return ;;
        --json|--save|-o|--output)
            compopt -o filenames 2>/dev/null
            COMPREPLY=($(compgen -f -- "$cur"))
            return ;;
        --site)
            compopt -o filenames 2>/dev/null
            _trellium_sites
            return ;;
        --settings)
            compopt -o filenames 2>/dev/null
            COMPREPLY=($(compgen -f -X '!*.lcsettings' -- "$cur") $(compgen -d -- "$cur"))
            return ;;
        --retry-on)
            COMPREPLY=($(compgen -W "429,5xx" -- "$cur"))
            return ;;
        --changefreq)
            COMPREPLY=($(compgen -W "none always hourly daily weekly monthly yearly never" -- "$cur"))
            return ;;
        --priority)
            COMPREPLY=($(compgen -W "level none" -- "$cur"))
            return ;;
        --rule|--ftp)
            return ;;
        --threads|--timeout|--max-time|--max-page-size|--delay|--user-agent|--header|--do-not-check|\
        --do-not-follow|--only-follow|--links-limit|--levels-limit|--soft-404-term|--retry|--accept|\
        --exclude|--include|--max-redirects|--validation-delay|--validation-timeout|--keyword|--learn)
            return ;;
        --language)
            COMPREPLY=($(compgen -W "$(ls /usr/share/hunspell 2>/dev/null | sed -n 's/\.dic$//p')" -- "$cur"))
            return ;;
        --filter)
            COMPREPLY=($(compgen -W "all no-title no-description copies duplicate-titles nofollow
                too-many-links description-length" -- "$cur"))
            return ;;
        --archive)
            compopt -o filenames 2>/dev/null
            COMPREPLY=($(compgen -d -- "$cur"))
            return ;;
        --validator)
            COMPREPLY=($(compgen -W "local w3c" -- "$cur"))
            return ;;
        esac
        if [[ $command == open && $cur == -* ]]; then
            COMPREPLY=($(compgen -W "--help --version --format --quiet --verbose --json --report --bad-only" -- "$cur"))
        elif [[ $cur == -* ]]; then
            local own=""
            [[ $command == sitemap ]] && own="--output --rule --changefreq --priority --lastmod --upload --ftp"
            COMPREPLY=($(compgen -W "$own --help --help-all --version --site --settings --format --quiet
                --verbose --json --save --report --bad-only --threads --timeout --max-time --max-page-size
                --delay --user-agent --header --insecure --retry --retry-on --max-redirects --images
                --ignore-query --keep-slash --single-page --nofollow --error-pages --unique-titles
                --hash-is-bad --no-external --do-not-check --do-not-follow --only-follow --check-content
                --robots-txt --links-limit --levels-limit --soft-404 --soft-404-term --accept
                --check-anchors --exclude --include --check-resources
                $([[ $command == validate ]] && echo --validator --validation-delay --validation-timeout)" -- "$cur"))
            [[ $command == seo ]] &&
                COMPREPLY+=($(compgen -W "--keyword --in-content --filter --archive" -- "$cur"))
            [[ $command == spelling ]] &&
                COMPREPLY+=($(compgen -W "--language --grammar --details --learn" -- "$cur"))
        else
            compopt -o filenames 2>/dev/null
            COMPREPLY=($(compgen -f -- "$cur"))
        fi
        ;;
    diff)
        if [[ $cur == -* ]]; then
            COMPREPLY=($(compgen -W "--help --version --json" -- "$cur"))
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
            COMPREPLY=($(compgen -W "--help --help-all --version --images --trim --encoding --verbose" -- "$cur"))
        else
            compopt -o filenames 2>/dev/null
            COMPREPLY=($(compgen -f -- "$cur"))
        fi
        ;;
    sites)
        local subcommand=${COMP_WORDS[2]}
        if [[ $COMP_CWORD -eq 2 ]]; then
            COMPREPLY=($(compgen -W "list add rename set-url delete remove export show set --help --version" \
                -- "$cur"))
        elif [[ $subcommand == add ]]; then
            [[ $prev == add ]] || COMPREPLY=($(compgen -W "--name" -- "$cur"))
        elif [[ $COMP_CWORD -eq 3 && $subcommand =~ ^(rename|set-url|delete|remove|export|show|set)$ ]]; then
            compopt -o filenames 2>/dev/null
            _trellium_sites
        elif [[ $subcommand == export && $COMP_CWORD -eq 4 ]]; then
            compopt -o filenames 2>/dev/null
            COMPREPLY=($(compgen -f -X '!*.lcsettings' -- "$cur") $(compgen -d -- "$cur"))
        elif [[ $subcommand == set && $COMP_CWORD -eq 4 ]]; then
            # Name and URL have commands of their own.
            local keys
            keys=$(_trellium_query sites show "$(_trellium_unquote "${COMP_WORDS[3]}")" | awk '$1 !~ /^(name|url|sitemapRules)$/ { print $1 }')
            COMPREPLY=($(compgen -W "$keys" -- "$cur"))
        elif [[ $subcommand == set && $COMP_CWORD -eq 5 ]]; then
            local value
            value=$(_trellium_query sites show "$(_trellium_unquote "${COMP_WORDS[3]}")" |
                awk -v key="${COMP_WORDS[4]}" '$1 == key { print $3 }')
            [[ $value == YES || $value == NO ]] && COMPREPLY=($(compgen -W "YES NO" -- "$cur"))
        fi
        ;;
    run)
        compopt -o filenames 2>/dev/null
        COMPREPLY=($(compgen -f -X '!*.lcsettings' -- "$cur") $(compgen -d -- "$cur"))
        ;;
    prefs)
        local subcommand=${COMP_WORDS[2]}
        if [[ $COMP_CWORD -eq 2 ]]; then
            COMPREPLY=($(compgen -W "list get set reset --help --version" -- "$cur"))
        elif [[ $COMP_CWORD -eq 3 && $subcommand =~ ^(get|set|reset)$ ]]; then
            COMPREPLY=($(compgen -W "$(_trellium_query prefs list | cut -d' ' -f1)" -- "$cur"))
        elif [[ $COMP_CWORD -eq 4 && $subcommand == set ]]; then
            local type
            type=$(_trellium_query prefs list | awk -v key="${COMP_WORDS[3]}" '$1 == key { print $2 }')
            [[ $type == bool || $type == yesno ]] && COMPREPLY=($(compgen -W "YES NO" -- "$cur"))
        fi
        ;;
    esac
}
complete -F _trellium trellium
