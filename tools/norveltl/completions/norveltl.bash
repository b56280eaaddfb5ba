# Completes the commands and options of norveltl: source it, or put it into
# /usr/share/bash-completion/completions as norveltl.
_norveltl() {
    local commands="list info xml read write features get set exec run grab events check"
    local types="--u32 --i32 --u64 --i64 --f32 --f64 --string"
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command= words= i
    COMPREPLY=()
    for ((i = 1; i < COMP_CWORD; ++i)); do
        if [[ ${COMP_WORDS[i]} == --cti ]]; then
            ((++i))
        elif [[ " $commands " == *" ${COMP_WORDS[i]} "* ]]; then
            command=${COMP_WORDS[i]}
            break
        fi
    done
    case $before in
        --cti | -o | --output | --plot | --junit | --save | --load | -f | --file)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
            return
            ;;
        --format)
            mapfile -t COMPREPLY < <(compgen -W "png pgm raw" -- "$word")
            return
            ;;
    esac
    case $command in
        '') words="$commands --version" ;;
        list) words="--json" ;;
        info) words="-d --device --json" ;;
        xml) words="-d --device -o --output --force" ;;
        read) words="-d --device --json $types" ;;
        write) words="-d --device $types" ;;
        features) words="-d --device --json --save --load --force" ;;
        get) words="-d --device --json" ;;
        set | exec) words="-d --device" ;;
        run) words="-d --device -f --file" ;;
        grab)
            words="-d --device --first -n --count -t --time -o --output --format --buffers --set --timeout --stats --plot --force --json"
            ;;
        events) words="-d --device -t --time --set --acquire --json" ;;
        check) words="--all --json --junit" ;;
    esac
    case $command in
        info | xml | read | write) words+=" system interface device port stream" ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$words --cti -h --help" -- "$word")
}
complete -F _norveltl norveltl
