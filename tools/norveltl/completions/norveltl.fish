# Completes norveltl's commands, options and cameras in fish: put it into ~/.config/fish/completions.
function __norveltl_complete
    set -l before (commandline -opc)
    $before[1] --complete "+"(commandline -ct | string unescape) $before[2..-1] 2>/dev/null
end
complete -c norveltl -a '(__norveltl_complete)'
