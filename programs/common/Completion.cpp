#include "programs/common/Completion.h"

#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>
#include <boost/algorithm/string/replace.hpp>

namespace {

/// The shells ask the program itself for what an argument can be. In their patterns each command stands with
/// its options and with what its arguments are; @WORDS@ and the like are put in here.
constexpr const char* bashScript =
    R"script(# Completion for @PROGRAM@. In ~/.bashrc: source <(@PROGRAM@ completion bash)
@FUNCTION@() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} kinds= options= offered name place=1
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W "@COMMANDS@ --help" -- "$word")
        return
    fi
    case ${COMP_WORDS[1]} in
@ROWS@    esac
    if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
        return
    fi
    for name in "${COMP_WORDS[@]:2:COMP_CWORD - 2}"; do
        [[ $name == -* ]] || place=$((place + 1))
    done
    case $(cut -d ' ' -f "$place" <<< "$kinds") in
@OFFERS@        *) return ;;
    esac
    while IFS= read -r name; do  # never expanded: a name may hold anything
        [[ $name != "$word"* ]] || COMPREPLY+=("$(printf '%q' "$name")")
    done < <(awk -F '  +' 'NR > 1 { print $1 }' <<< "$offered")
}
complete -F @FUNCTION@ @PROGRAM@
)script";

constexpr const char* powerShellScript =
    R"script(# Completion for @PROGRAM@. In $PROFILE: @PROGRAM@ completion powershell | Out-String | Invoke-Expression
Register-ArgumentCompleter -Native -CommandName @PROGRAM@, @PROGRAM@.exe -ScriptBlock {
    param($word, $line, $position)
    $known = [ordered]@{
@ROWS@    }
    $words = @($line.CommandElements | ForEach-Object { $_.ToString() })
    if ($word -ne '') { $words = @($words | Select-Object -SkipLast 1) }
    $before = $words[-1]
    $place = @($words | Where-Object { $_ -notlike '-*' }).Count - 1
    $offered = @()
    if ($place -eq 0) {
        $offered = @($known.Keys) + '--help'
    } elseif ($known.Contains($words[1])) {
        $kinds, $options = $known[$words[1]]
        if ($word -like '-*') {
            $offered = -split $options
        } else {
            $rows = @()
            switch -Wildcard ((-split $kinds)[$place - 1]) {
@OFFERS@            }
            $offered = $rows | Select-Object -Skip 1 | ForEach-Object { ($_ -split '  +')[0] }
        }
    }
    $offered | Where-Object { $_.StartsWith($word) } | ForEach-Object {
        $text = if ($_ -match '^[-\w./:]+$') { $_ } else { "'" + $_.Replace("'", "''") + "'" }
        [System.Management.Automation.CompletionResult]::new($text, $_, 'ParameterValue', $_)
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

void writeCompletion(const CLI::App& program, const std::vector<Offer>& offers, bool bash) {
    std::string commands, rows, questions;
    for (const CLI::App* command : program.get_subcommands({})) {
        const std::string name = command->get_name();
        const std::string arguments = namesOf(*command, true), options = namesOf(*command, false);
        commands += (commands.empty() ? "" : " ") + name;
        rows += bash ? "        " + name + ") kinds='" + arguments + "' options='" + options + "' ;;\n"
                     : "        '" + name + "' = @('" + arguments + "', '" + options + "')\n";
    }
    for (const Offer& offer : offers) {
        const std::string ask = program.get_name() + ' ' + offer.command;
        questions += bash ? "        " + offer.argument + "*) offered=$(" + ask +
                                (offer.takesWordBefore ? " \"$before\"" : "") + " 2> /dev/null) ;;\n"
                          : "                '" + offer.argument + "*' { $rows = @(" + ask +
                                (offer.takesWordBefore ? " $before" : "") + " 2> $null) }\n";
    }
    std::string script = bash ? bashScript : powerShellScript;
    for (const auto& [mark, text] :
         {std::pair("@PROGRAM@", program.get_name()),
          {"@FUNCTION@", '_' + boost::replace_all_copy(program.get_name(), "-", "_")},
          {"@COMMANDS@", commands},
          {"@ROWS@", rows},
          {"@OFFERS@", questions}}) {
        boost::replace_all(script, mark, text);
    }
    std::cout << script;
}

}  // namespace

void addCompletionCommand(CLI::App& program, const std::vector<Offer>& offers) {
    const auto shell = std::make_shared<std::string>();
    CLI::App* command =
        program.add_subcommand("completion", "Write what a shell needs to complete command lines");
    command->add_option("SHELL", *shell, "bash or powershell")
        ->required()
        ->check(CLI::IsMember({"bash", "powershell"}));
    command->callback([shell, offers, &program] { writeCompletion(program, offers, *shell == "bash"); });
    command->footer("Example:\n  source <(" + program.get_name() + " completion bash)");
}
