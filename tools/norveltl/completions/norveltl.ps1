# Completes the commands and options of norveltl in PowerShell: dot-source it in your profile.
Register-ArgumentCompleter -Native -CommandName norveltl, norveltl.exe -ScriptBlock {
    param($word, $ast, $position)
    $types = '--u32', '--i32', '--u64', '--i64', '--f32', '--f64', '--string'
    $targets = 'system', 'interface', 'device', 'port', 'stream'
    $commands = @{
        list     = @('--json')
        info     = @('-d', '--device', '--json') + $targets
        xml      = @('-d', '--device', '-o', '--output', '--force') + $targets
        read     = @('-d', '--device', '--json') + $types + $targets
        write    = @('-d', '--device') + $types + $targets
        features = @('-d', '--device', '--json', '--save', '--load', '--force')
        get      = @('-d', '--device', '--json')
        set      = @('-d', '--device')
        exec     = @('-d', '--device')
        run      = @('-d', '--device', '-f', '--file')
        grab     = @('-d', '--device', '--first', '-n', '--count', '-t', '--time', '-o', '--output', '--format', '--buffers',
            '--set', '--timeout', '--stats', '--plot', '--force', '--json')
        events   = @('-d', '--device', '-t', '--time', '--set', '--acquire', '--json')
        check    = @('--all', '--json', '--junit')
    }
    $before = @($ast.CommandElements | Select-Object -Skip 1 |
        Where-Object { $_.Extent.EndOffset -lt $position } | ForEach-Object { $_.ToString() })
    $last = if ($before) { $before[-1] }
    # Nothing from here lets PowerShell complete the file's name.
    if ($last -in '--cti', '-o', '--output', '--plot', '--junit', '--save', '--load', '-f', '--file') { return }
    $command = $before | Where-Object { $commands.ContainsKey($_) } | Select-Object -First 1
    $choices = if ($last -eq '--format') { 'png', 'pgm', 'raw' }
    elseif ($command) { $commands[$command] + '--cti', '-h', '--help' }
    else { @($commands.Keys | Sort-Object) + '--version', '--cti', '-h', '--help' }
    $choices | Where-Object { $_ -like "$word*" } | ForEach-Object {
        [System.Management.Automation.CompletionResult]::new($_, $_, 'ParameterValue', $_)
    }
}
