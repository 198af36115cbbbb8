# Completion of pinpad for bash: source it, or install it as
# /usr/share/bash-completion/completions/pinpad

_pinpad_ports() {
    pinpad ports 2>/dev/null | grep -v ' '
}

# The command among the words before the cursor, with the second word of `media` and `mifare`.
_pinpad_command() {
    local i word command=''
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        case $word in
            ports | open | capture | display | image | play | event | qr | survey | cxsurvey | close | \
                session)
                echo "$word"
                return
                ;;
            media | mifare) command=$word ;;
            list | load)
                if [ "$command" = media ]; then
                    echo "media $word"
                    return
                fi
                ;;
            activate | auth | read | write | value | config | keys)
                if [ "$command" = mifare ]; then
                    echo "mifare $word"
                    return
                fi
                ;;
        esac
    done
    echo "$command"
}

_pinpad() {
    local cur=${COMP_WORDS[COMP_CWORD]}
    local prev=${COMP_WORDS[COMP_CWORD - 1]}
    local words='--port --secure --idle-message --timeout --json --simulate --trace
        --trace-plain --trace-secrets --help --version'
    COMPREPLY=()

    case $prev in
        --port)
            mapfile -t COMPREPLY < <(compgen -W "$(_pinpad_ports)" -- "$cur")
            return
            ;;
        --simulate)
            mapfile -t COMPREPLY < <(compgen -f -- "$cur")
            ;;
        --idle-message | --timeout | --prompt | --min | --max | --wait | --as | --type | \
            --options | --number | --pair | --from | --count | --to | --set | --key | --key-a | \
            --key-b | --line | --line-type | --top-type | --bottom-type | --style | --code | \
            --survey-type | --message-type | --score-type | --idle-wait | --stop-after)
            return
            ;;
    esac

    case $(_pinpad_command) in
        '') words="$words ports open capture display image play media event mifare qr survey cxsurvey close
            session" ;;
        media) words="$words list load" ;;
        mifare) words="$words activate auth read write value config keys" ;;
        'mifare auth') words="$words --key" ;;
        'mifare read') words="$words --key --from --count" ;;
        'mifare write') words="$words --key --from" ;;
        'mifare value') words="$words --key --to get set add subtract copy" ;;
        'mifare config') words="$words --key --set --key-a --key-b" ;;
        'mifare keys') words="$words --key --key-a --key-b" ;;
        capture) words="$words --prompt --min --max --wait" ;;
        display) words="$words --clear" ;;
        event) words="$words --options --number --pair" ;;
        qr) words="$words --line --line-type --wait" ;;
        survey) words="$words --top-type --bottom-type --style --code --wait --stop-after" ;;
        cxsurvey)
            words="$words --survey-type --message-type --score-type --wait --idle-wait
                --stop-after"
            ;;
        close) words="$words --media --extended" ;;
        'media load')
            words="$words --as --type"
            mapfile -t COMPREPLY < <(compgen -f -- "$cur")
            ;;
        session)
            words="$words --keep-going"
            mapfile -t COMPREPLY < <(compgen -f -- "$cur")
            ;;
    esac
    mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -W "$words" -- "$cur")
}

complete -F _pinpad pinpad
