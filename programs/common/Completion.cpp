#include "programs/common/Completion.h"

#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>
#include <boost/algorithm/string/replace.hpp>

namespace {

/// The shells ask the program itself for what an argument can be. In their tables each command stands with
/// the kinds of its arguments, its options, and the kinds of those options' values; a kind that is a choice
/// lists the words, as in {a,b}. @ROWS@ and the like are put in here.
constexpr const char* bashScript =
    R"script(# Completion for @PROGRAM@. In ~/.bashrc: source <(@PROGRAM@ completion bash)
@FUNCTION@() {
    local word=${COMP_WORDS[COMP_CWORD]} options= values= value= last= offered= place=0 name kinds=()
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W "@COMMANDS@ --help" -- "$word")
        return
    fi
    case ${COMP_WORDS[1]} in
@ROWS@    esac
    [ "$COMP_CWORD" -eq 2 ] || case "${COMP_WORDS[1]} ${COMP_WORDS[2]}" in
@INNER@    esac
    for name in "${COMP_WORDS[@]:2:COMP_CWORD - 2}"; do
        if [ -n "$value" ]; then
            value=
        elif [[ " $values" == *" $name="* ]]; then
            value=${values##*"$name="}
            value=${value%% *}
        elif [[ $name != -* ]]; then
            last=$name place=$((place + 1))
        fi
    done
    if [ -z "$value" ] && [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
        return
    fi
    case ${value:-${kinds[place]}} in
        \{*\}) mapfile -t COMPREPLY < <(compgen -W "$(tr '{,}' '   ' <<< "${value:-${kinds[place]}}")" -- "$word"); return ;;
        FILE*) compopt -o default; return ;;
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
    $known = @{
@ROWS@@INNER@    }
    $words = @($line.CommandElements | Select-Object -Skip 1 | ForEach-Object { $_.ToString() })
    if ($word -ne '') { $words = @($words | Select-Object -SkipLast 1) }
    $offered = @()
    if ($words.Count -eq 0) {
        $offered = -split '@COMMANDS@ --help'
    } else {
        $command = $words[0]
        if ($words.Count -gt 1 -and $known.ContainsKey("$command $($words[1])")) { $command += " $($words[1])" }
        $kinds, $options, $values = $known[$command]
        $value = ''
        $last = ''
        $place = 0
        foreach ($name in @($words | Select-Object -Skip 1)) {
            $valued = @(-split "$values" | Where-Object { $_.StartsWith("$name=") })
            if ($value -ne '') {
                $value = ''
            } elseif ($valued.Count -ne 0) {
                $value = $valued[0].Substring($name.Length + 1)
            } elseif ($name -notlike '-*') {
                $last = $name
                $place++
            }
        }
        $kind = if ($value -ne '') { $value } else { @(-split "$kinds")[$place] }
        if ($value -eq '' -and $word -like '-*') {
            $offered = -split "$options"
        } elseif ($kind -like '{*}') {
            $offered = $kind.Trim('{', '}') -split ','
        } else {
            $rows = @()
            switch -Wildcard ($kind) {
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

/// What an argument or the value of an option can be: the words, or its name.
std::string kindOf(const CLI::Option& option, const std::string& name) {
    const std::string type = option.get_type_name();
    const std::size_t words = type.find('{');
    return words == std::string::npos ? name : type.substr(words);
}

struct Words {
    std::string kinds;    // of the arguments
    std::string options;  // their names
    std::string values;   // NAME=KIND of those that take one
};

void append(std::string& list, const std::string& word) {
    list += (list.empty() ? "" : " ") + word;
}

Words wordsOf(const CLI::App& command) {
    Words words;
    for (const CLI::Option* option : command.get_options()) {
        const std::string name = option->get_name(option->get_positional());
        if (option->get_positional()) {
            append(words.kinds, kindOf(*option, name));
            continue;
        }
        append(words.options, name);
        if (option->get_items_expected_max() != 0) {
            append(words.values, name + '=' + kindOf(*option, option->get_type_name()));
        }
    }
    return words;
}

std::string row(const std::string& name, const Words& words, bool bash) {
    return bash ? "        '" + name + "') kinds=(" + boost::replace_all_copy(words.kinds, "{", "\\{") +
                      ") options='" + words.options + "' values='" + words.values + "' ;;\n"
                : "        '" + name + "' = @('" + words.kinds + "', '" + words.options + "', '" +
                      words.values + "')\n";
}

void writeCompletion(const CLI::App& program, const std::vector<Offer>& offers, bool bash) {
    std::string commands, rows, inner, questions;
    for (const CLI::App* command : program.get_subcommands({})) {
        const std::string name = command->get_name();
        Words words = wordsOf(*command);
        std::string choice;
        for (const CLI::App* of : command->get_subcommands({})) {
            choice += (choice.empty() ? "{" : ",") + of->get_name();
            Words more = wordsOf(*of);
            more.kinds = "SUBCOMMAND " + more.kinds;
            inner += row(name + ' ' + of->get_name(), more, bash);
        }
        words.kinds += choice.empty() ? "" : choice + '}';
        append(commands, name);
        rows += row(name, words, bash);
    }
    for (const Offer& offer : offers) {
        const std::string ask = program.get_name() + ' ' + offer.command;
        questions += bash ? "        " + offer.argument + "*) offered=$(" + ask +
                                (offer.takesWordBefore ? " \"$last\"" : "") + " 2> /dev/null) ;;\n"
                          : "                '" + offer.argument + "*' { $rows = @(" + ask +
                                (offer.takesWordBefore ? " $last" : "") + " 2> $null) }\n";
    }
    std::string script = bash ? bashScript : powerShellScript;
    for (const auto& [mark, text] :
         {std::pair("@PROGRAM@", program.get_name()),
          {"@FUNCTION@", '_' + boost::replace_all_copy(program.get_name(), "-", "_")},
          {"@COMMANDS@", commands},
          {"@ROWS@", rows},
          {"@INNER@", inner},
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
