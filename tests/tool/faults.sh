# faults.sh <folder of the tool> <library whose malloc fails> <sample document>
# Runs each command of faults.commands with the first, second, third ... allocation failing, once
# and for ever, until none fails. It must then give what it gives otherwise, with the same exit
# code; or exit code 2 and one line that says why, with every document as it was, or with the new
# one said to be saved; and no temporary file. FAULTS_STEP is the distance of the positions that are
# tried: 499, or 1 for all. FAULTS_ONLY is the beginning of the commands that are.
set -u
PATH=$1:$PATH
library=$2 sample=$3 step=${FAULTS_STEP:-499} commands=$(realpath "$(dirname "$0")/faults.commands")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export TMPDIR="$scratch/tmp" LC_ALL=C.UTF-8 NO_COLOR=1
who="--user jd --user-name Jane --uid 2.25.1"
mkdir "$TMPDIR" "$scratch/fresh" && cp "$sample" "$scratch/fresh/a.xml" && cd "$scratch/fresh" &&
  zamxml amend a.xml --user x --user-name X --set PatientInfo/ID=1 >"$scratch/out" && cp a.xml b.xml &&
  zamxml amend b.xml --user x --user-name X --set PatientInfo/Race=2 >"$scratch/out" &&
  zamxml new wave.xml --create --set Wave/Encoding@code=0 --set Wave/BytePerData=2 \
    --set Wave/CountOfData=2 --set Wave/Data=1,-2 --set Wave/Data@start=0 \
    --set Wave/Data@length=4 &&
  sed 's/<OldValue>58.4</<OldValue>58.5</' a.xml >unsound.xml && zamxml export a.xml >a.json &&
  zamxml digest a.xml b.xml >digests &&
  echo '{"changes":[{"path":"PatientInfo/ID","old":"1","new":"2"}]}' >changes.json || exit 1

# Goes into a fresh copy of the documents.
refresh() {
  cd "$scratch" && rm -rf work && cp -r fresh work && cd work || exit 1
}

# The files; what every run stamps anew reads the same.
texts() {
  sed -E 's/20[0-9]{2}-[0-9]{2}-[0-9]{2}([ T]|<.Date>|")/DATE\1/; s/[0-9]{2}:[0-9]{2}:[0-9]{2}/TIME/' "$@"
}

# play <environment> <command>: sets code, errors, output and documents.
play() {
  : >"$scratch/failed"
  (eval "$1 exec zamxml $2") >"$scratch/out" 2>"$scratch/err" 9>"$scratch/failed"
  code=$?
  # The counts at the end are no reason.
  sed -i '/^[0-9,]* documents*, /d' "$scratch/err"
  errors=$(cat "$scratch/err") output=$(texts "$scratch/out") documents=$(texts ./*)
}

# Prints what is wrong with the last run.
judge() {
  if [ "$code" -eq "$wanted_code" ]; then
    [ "$output$documents" = "$wanted_output$wanted" ] || echo "another output or document"
  elif [ "$code" -ne 2 ] || [ "$(wc -l <"$scratch/err")" -ne 1 ]; then
    echo "exit code $code, $(wc -l <"$scratch/err") lines"
  else
    case $errors in
      "zamxml: "*"it is saved"*) [ "$documents" = "$wanted" ] || echo "another document" ;;
      "zamxml: "*) [ "$documents" = "$old" ] || echo "saved without saying so" ;;
      *) echo "no reason" ;;
    esac
  fi
  for file in .zamxml-* "$TMPDIR"/*/*; do
    [ ! -e "$file" ] || { echo "left behind: $file"; rm "$file"; }
  done
}

refresh
old=$(texts ./*) total=0 broken=0
while IFS= read -r command; do
  case $command in "${FAULTS_ONLY:-}"*) ;; *) continue ;; esac
  refresh
  play "" "$command"
  wanted_code=$code wanted_output=$output wanted=$documents first=$total
  for ever in "" FAIL_EVER=1; do
    n=1
    refresh
    while play "LD_PRELOAD=$library FAIL_AT=$n $ever" "$command"; [ -s "$scratch/failed" ]; do
      total=$((total + 1)) wrong=$(judge)
      [ -z "$wrong" ] || broken=$((broken + 1))
      [ -z "$wrong" ] || echo "zamxml $command: allocation $n $ever: $wrong: $errors"
      [ "$documents" = "$old" ] || refresh
      n=$((n + step))
    done
  done
  echo "zamxml $command: $((total - first)) positions"
done <"$commands"
echo "$total positions, $broken failures"
[ $total -gt 0 ] && [ $broken -eq 0 ]
