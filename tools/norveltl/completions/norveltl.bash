# Completes norveltl's commands, options and cameras: source it, or put it into
# /usr/share/bash-completion/completions as norveltl.
_norveltl() {
    local word=${COMP_WORDS[COMP_CWORD]} line
    COMPREPLY=()
    while IFS= read -r line; do
        COMPREPLY+=("$(printf %q "${line%%$'\t'*}")")
    done < <("${COMP_WORDS[0]}" --complete "+$word" "${COMP_WORDS[@]:1:COMP_CWORD-1}" 2>/dev/null | tr -d '\r')
}
# Without candidates it completes files.
complete -o default -F _norveltl norveltl
