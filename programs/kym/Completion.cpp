#include "Completion.h"

#include <iostream>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

namespace {

/// The shells ask the program itself for departments and applications; what it lists first in a line is the
/// name. In their patterns each command stands with its options and with what its arguments are.
constexpr const char* bashStart = R"script(# Completion for kym. In ~/.bashrc: source <(kym completion bash)
_kym() {
    local word=${COMP_WORDS[COMP_CWORD]} command=${COMP_WORDS[1]} kinds= options= kind place
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W "@COMMANDS@ --help" -- "$word")
        return
    fi
    case $command in
)script";

constexpr const char* bashEnd = R"script(    esac
    if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
        return
    fi
    place=$((COMP_CWORD - 1))
    kind=$(cut -d ' ' -f "$place" <<< "$kinds")
    case $kind in
        DEPARTMENT*) kind=$(kym departments 2> /dev/null) ;;
        APPLICATION*) kind=$(kym applications "${COMP_WORDS[COMP_CWORD - 1]}" 2> /dev/null) ;;
        *) return ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$(awk 'NR > 1 { print $1 }' <<< "$kind")" -- "$word")
}
complete -F _kym kym
)script";

constexpr const char* powerShellStart =
    R"script(# Completion for kym. In $PROFILE: kym completion powershell | Out-String | Invoke-Expression
Register-ArgumentCompleter -Native -CommandName kym, kym.exe -ScriptBlock {
    param($word, $line, $position)
    $known = [ordered]@{
)script";

constexpr const char* powerShellEnd = R"script(    }
    $words = @($line.CommandElements | ForEach-Object { $_.ToString() })
    $place = $words.Count - 1
    if ($word -ne '') { $place-- }
    $offered = @()
    if ($place -eq 0) {
        $offered = @($known.Keys) + '--help'
    } elseif ($known.Contains($words[1])) {
        $kinds, $options = $known[$words[1]]
        if ($word -like '-*') {
            $offered = -split $options
        } else {
            $kind = (-split $kinds)[$place - 1]
            $rows = @()
            if ($kind -like 'DEPARTMENT*') { $rows = @(kym departments 2> $null) }
            if ($kind -like 'APPLICATION*') { $rows = @(kym applications $words[$place] 2> $null) }
            $offered = $rows | Select-Object -Skip 1 | ForEach-Object { (-split $_)[0] }
        }
    }
    $offered | Where-Object { $_ -like "$word*" } | ForEach-Object {
        [System.Management.Automation.CompletionResult]::new($_, $_, 'ParameterValue', $_)
    }
}
)script";

/// The names of a command's arguments or of its options, with blanks between them.
std::string namesOf(const CLI::App& command, bool arguments) {
    std::string names;
    for (const CLI::Option* option : command.get_options()) {
        if (option->get_positional() == arguments) {
            names += (names.empty() ? "" : " ") + option->get_name(arguments);
        }
    }
    return names;
}

void writeCompletion(const CLI::App& program, const std::string& shell) {
    const bool bash = shell == "bash";
    std::string commands, rows;
    for (const CLI::App* command : program.get_subcommands({})) {
        const std::string name = command->get_name();
        const std::string arguments = namesOf(*command, true), options = namesOf(*command, false);
        commands += (commands.empty() ? "" : " ") + name;
        rows += bash ? "        " + name + ") kinds='" + arguments + "' options='" + options + "' ;;\n"
                     : "        '" + name + "' = @('" + arguments + "', '" + options + "')\n";
    }
    std::string start = bash ? bashStart : powerShellStart;
    const std::string mark = "@COMMANDS@";
    if (bash) {
        start.replace(start.find(mark), mark.size(), commands);
    }
    std::cout << start << rows << (bash ? bashEnd : powerShellEnd);
}

}  // namespace

void addCompletionCommand(CLI::App& program) {
    const auto shell = std::make_shared<std::string>();
    CLI::App* command =
        program.add_subcommand("completion", "Write what a shell needs to complete command lines");
    command->add_option("SHELL", *shell, "bash or powershell")
        ->required()
        ->check(CLI::IsMember({"bash", "powershell"}));
    command->callback([shell, &program] { writeCompletion(program, *shell); });
    command->footer("Example:\n  source <(kym completion bash)");
}
