# bash completion for zamxml
_zamxml() {
  local current=${COMP_WORDS[COMP_CWORD]} verb=${COMP_WORDS[1]-} options
  COMPREPLY=()
  if ((COMP_CWORD == 1)); then
    options="new show log diff blame amend revert check report export import --help --version"
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
    return
  fi
  case $verb in
    new) options="--set --create --force --wait" ;;
    show) options="--at --json" ;;
    log) options="--patch --user --since --until --path --json" ;;
    diff | blame) options="--json" ;;
    amend)
      options="--user --user-name --uid --code --output --force --dry-run --wait
        --change-document-id --json --set --name --statements --from --create"
      ;;
    revert)
      options="--user --user-name --uid --code --output --force --dry-run --wait
        --change-document-id --json"
      ;;
    check) options="--recursive --jobs --json" ;;
    report) options="--output --force --wait" ;;
    export) options="--at" ;;
    import) options="--force --wait" ;;
  esac
  if [[ $current == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "--help ${options-}" -- "$current")
  elif [[ ${COMP_WORDS[COMP_CWORD - 1]} == --at ]]; then
    mapfile -t COMPREPLY < <(compgen -W "original last" -- "$current")
  else
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
  fi
}
complete -o filenames -F _zamxml zamxml
