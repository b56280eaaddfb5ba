# Completes norveltl's commands, options and cameras in PowerShell: dot-source it in your profile.
Register-ArgumentCompleter -Native -CommandName norveltl, norveltl.exe -ScriptBlock {
    param($word, $ast, $position)
    $program, $before = @($ast.CommandElements | Where-Object { $_.Extent.EndOffset -lt $position } |
        ForEach-Object { $_.ToString().Trim('"', "'") })
    # Without candidates PowerShell completes files.
    & $program --complete "+$word" @before 2>$null | ForEach-Object {
        $name, $help = $_ -split "`t", 2
        $text = if ($name -match '[^\w.:-]') { "'" + $name.Replace("'", "''") + "'" } else { $name }
        if (-not $help) { $help = $name }
        [System.Management.Automation.CompletionResult]::new($text, $name, 'ParameterValue', $help)
    }
}
