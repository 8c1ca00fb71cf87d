# bash completion for zamxml

# The words of a kind (paths, positions, users) for the document that is on the line already.
_zamxml_words() {
  local word
  for word in "${COMP_WORDS[@]:2:COMP_CWORD-2}"; do
    word=${word/#\~/$HOME}
    if [[ -f $word ]]; then
      zamxml complete "$1" "$word" 2>/dev/null
      return
    fi
  done
}

_zamxml() {
  local current=${COMP_WORDS[COMP_CWORD]} verb=${COMP_WORDS[1]-} options words whole line
  local previous=${COMP_WORDS[COMP_CWORD - 1]}
  COMPREPLY=()
  if ((COMP_CWORD == 1)); then
    options="new show log diff blame amend revert check digest changes report export import complete
      --help --version"
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
    return
  fi
  local recording="--user --user-name --uid --code --output --force --dry-run --wait
    --change-document-id --json"
  local selection="--user --since --until --path --recursive --jobs"
  case $verb in
    new) options="--set --create --force --wait" ;;
    show) options="--at --json" words=paths ;;
    log) options="--patch --count --reverse --json $selection" words=positions ;;
    diff) options="--json" words=positions ;;
    blame) options="--json" words=paths ;;
    amend) options="--set --name --statements --from --create $recording" ;;
    revert) options=$recording words=positions ;;
    check) options="--recursive --jobs --against --ignore --json" ;;
    digest) options="--chain --recursive --jobs" ;;
    changes) options="--csv --jsonl $selection" ;;
    report) options="--output --force --wait" ;;
    export) options="--at" ;;
    import) options="--force --wait" ;;
    complete) ((COMP_CWORD > 2)) || options="paths positions users" ;;
  esac
  # The word up to the cursor, which bash has cut at "@".
  line=${COMP_LINE-}
  line=${line:0:${COMP_POINT-0}}
  whole=${line##* }
  [[ $whole == *"$current" ]] || whole=$current
  case $previous in
    --at) words=positions ;;
    --user) words=users ;;
    --path | --set | --name | --statements) words=paths ;;
    --jobs | --count | --since | --until | --wait | --uid | --code | --user-name) return ;;
    --from | --output | --against) words= ;;
    *) [[ $current != -* ]] || words= ;;
  esac
  if [[ $current == -* || ($verb == complete && COMP_CWORD -eq 2) ]]; then
    mapfile -t COMPREPLY < <(compgen -W "--help ${options-}" -- "$current")
    return
  fi
  if [[ -n ${words-} ]]; then
    mapfile -t COMPREPLY < <(_zamxml_words "$words" |
      awk -v start="$whole" 'index($0, start) == 1')
    COMPREPLY=("${COMPREPLY[@]#"${whole%"$current"}"}")
    [[ $previous != --set && $previous != --name ]] || compopt -o nospace 2>/dev/null
  fi
  if ((${#COMPREPLY[@]} == 0)) || [[ $verb == diff ]]; then
    mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -f -- "$current")
  fi
}
complete -o filenames -F _zamxml zamxml
