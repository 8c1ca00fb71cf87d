# fish completion for zamxml

# The words of a kind (paths, positions, users) for the document that is on the line already.
function __zamxml_words
    for word in (commandline -opc)[3..-1]
        if test -f "$word"
            zamxml complete $argv[1] $word 2>/dev/null
            return
        end
    end
end

set -l verbs new show log diff blame amend revert check digest changes report export import complete
complete -c zamxml -n "not __fish_seen_subcommand_from $verbs" -f -a "$verbs"
complete -c zamxml -n "not __fish_seen_subcommand_from $verbs" -l version -d "Version"
complete -c zamxml -l help -s h -d "Help"
complete -c zamxml -n "__fish_seen_subcommand_from show log diff blame amend revert check" -l json -d "Print JSON"
complete -c zamxml -n "__fish_seen_subcommand_from show export" -l at -x -a "(__zamxml_words positions)" -d "Position"
complete -c zamxml -n "__fish_seen_subcommand_from new import report amend revert" -l force -d "Replace a file"
complete -c zamxml -n "__fish_seen_subcommand_from new amend" -l set -x -a "(__zamxml_words paths)" -d "PATH[@ATTR]=VALUE"
complete -c zamxml -n "__fish_seen_subcommand_from new amend" -l create -d "Add elements and attributes"
complete -c zamxml -n "__fish_seen_subcommand_from amend" -l name -x -a "(__zamxml_words paths)" -d "PATH=FULL^FAMILY^GIVEN^MIDDLE^PREFIX^SUFFIX"
complete -c zamxml -n "__fish_seen_subcommand_from amend" -l statements -x -a "(__zamxml_words paths)" -d "PATH=TEXT and more texts"
complete -c zamxml -n "__fish_seen_subcommand_from amend" -l from -r -d "Changes from JSON"
complete -c zamxml -n "__fish_seen_subcommand_from log changes amend revert" -l user -x -a "(__zamxml_words users)" -d "User"
complete -c zamxml -n "__fish_seen_subcommand_from amend revert" -l user-name -x -d "Name of the user"
complete -c zamxml -n "__fish_seen_subcommand_from amend revert" -l uid -x -d "Identifier of the modification"
complete -c zamxml -n "__fish_seen_subcommand_from amend revert" -l code -x -d "Code of the changes"
complete -c zamxml -n "__fish_seen_subcommand_from amend revert report" -l output -s o -r -d "Write there"
complete -c zamxml -n "__fish_seen_subcommand_from amend revert" -l dry-run -s n -d "Write nothing"
complete -c zamxml -n "__fish_seen_subcommand_from new import report amend revert" -l wait -x -d "Seconds to wait"
complete -c zamxml -n "__fish_seen_subcommand_from amend revert" -l change-document-id -d "Let DocumentInfo/ID be changed"
complete -c zamxml -n "__fish_seen_subcommand_from log" -l patch -s p -d "Show each change"
complete -c zamxml -n "__fish_seen_subcommand_from log changes" -l since -x -d "From this date on"
complete -c zamxml -n "__fish_seen_subcommand_from log changes" -l until -x -d "Up to this date"
complete -c zamxml -n "__fish_seen_subcommand_from log changes" -l path -x -a "(__zamxml_words paths)" -d "What changes this value"
complete -c zamxml -n "__fish_seen_subcommand_from log check digest changes" -l recursive -s r -d "Look into folders"
complete -c zamxml -n "__fish_seen_subcommand_from log check digest changes" -l jobs -s j -x -d "Side by side"
complete -c zamxml -n "__fish_seen_subcommand_from log" -l count -s n -x -d "At most so many"
complete -c zamxml -n "__fish_seen_subcommand_from log" -l reverse -d "The newest first"
complete -c zamxml -n "__fish_seen_subcommand_from check" -l against -r -d "Digests kept elsewhere"
complete -c zamxml -n "__fish_seen_subcommand_from check" -l ignore -x -d "A code to leave out"
complete -c zamxml -n "__fish_seen_subcommand_from digest" -l chain -d "One line a position"
complete -c zamxml -n "__fish_seen_subcommand_from changes" -l csv -d "Comma-separated values"
complete -c zamxml -n "__fish_seen_subcommand_from changes" -l jsonl -d "One object a line"
complete -c zamxml -n "__fish_seen_subcommand_from show blame" -a "(__zamxml_words paths)"
complete -c zamxml -n "__fish_seen_subcommand_from log diff revert" -a "(__zamxml_words positions)"
complete -c zamxml -n "__fish_seen_subcommand_from complete" -a "paths positions users"
