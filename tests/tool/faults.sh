# faults.sh <folder of the tool> <library whose malloc fails> <sample document>
# Runs each verb with the first, second, third ... allocation failing, once and for ever, until none
# fails any more. Whatever fails, the verb must give what it gives otherwise, with the same exit
# code; or exit code 2 and one line that says why, with every document as it was, or with the new
# one said to be saved; and no temporary file. FAULTS_STEP is the distance of the positions that are
# tried: 499, or 1 for all of them. FAULTS_ONLY is the beginning of the command lines that are.
set -eu
PATH=$1:$PATH
library=$2 sample=$3 step=${FAULTS_STEP:-499}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir "$scratch/fresh" "$scratch/tmp"
export TMPDIR="$scratch/tmp" LC_ALL=C.UTF-8 NO_COLOR=1
who="--user jd --user-name Jane --uid 2.25.1"

cp "$sample" "$scratch/fresh/a.xml"
cd "$scratch/fresh"
zamxml amend a.xml --user x --user-name X --set PatientInfo/ID=1 >"$scratch/out"
cp a.xml b.xml
zamxml amend b.xml --user x --user-name X --set PatientInfo/Race=2 >"$scratch/out"
sed 's/<OldValue>58.4</<OldValue>58.5</' a.xml >unsound.xml
zamxml export a.xml >a.json
zamxml digest a.xml b.xml >digests
echo '{"changes":[{"path":"PatientInfo/ID","old":"1","new":"2"}]}' >changes.json
set +e

# Goes into a fresh copy of the documents.
refresh() {
  cd "$scratch" && rm -rf work && cp -r fresh work && cd work || exit 1
}

# play <environment> <command>: sets code and err, the first line; err2 is any further one.
play() {
  : >"$scratch/failed"
  (eval "$1 exec zamxml $2") >"$scratch/out" 2>"$scratch/err" 9>"$scratch/failed"
  code=$?
  # The counts at the end are no reason.
  sed -i '/^[0-9,]* documents*, /d' "$scratch/err"
  err='' err2=''
  { read -r err; read -r err2; } <"$scratch/err"
}

# What the files hold; what every run stamps anew reads the same.
texts() {
  sed -E 's/20[0-9]{2}-[0-9]{2}-[0-9]{2}([ T]|<.Date>|")/DATE\1/; s/[0-9]{2}:[0-9]{2}:[0-9]{2}/TIME/' "$@"
}

# judge: says in wrong what is wrong with the last run, if anything.
judge() {
  wrong=
  if [ $code -eq $wanted_code ]; then
    [ "$(texts "$scratch/out" ./*)" = "$wanted" ] || wrong="another output or document"
    [ "$wanted_documents" = "$old_documents" ] || refresh
  elif [ $code -eq 2 ]; then
    case $err in "zamxml: "*) ;; *) wrong="no reason" ;; esac
    [ -z "$err2" ] || wrong="more than one line: $err2"
    documents=$(texts ./*)
    if [ "$documents" != "$old_documents" ]; then
      case $err in *"it is saved"*) ;; *) wrong="saved without saying so" ;; esac
      [ "$documents" = "$wanted_documents" ] || wrong="another document"
      refresh
    fi
  else
    wrong="exit code $code"
  fi
  for file in .zamxml-* "$scratch"/tmp/*/*; do
    [ ! -e "$file" ] || { wrong="left behind: $file"; rm "$file"; }
  done
}

total=0 broken=0
verb() {
  refresh
  play "" "$1"
  wanted_code=$code wanted=$(texts "$scratch/out" ./*) wanted_documents=$(texts ./*)
  positions=0 failures=0
  for ever in "" "FAIL_EVER=1"; do
    n=1
    refresh
    while play "LD_PRELOAD=$library FAIL_AT=$n $ever" "$1"; [ -s "$scratch/failed" ]; do
      positions=$((positions + 1))
      judge
      if [ -n "$wrong" ]; then
        failures=$((failures + 1))
        echo "zamxml $1: allocation $n $ever: $wrong: $err"
      fi
      n=$((n + step))
    done
  done
  echo "zamxml $1: $positions positions, $failures failures"
  total=$((total + positions)) broken=$((broken + failures))
}

refresh
old_documents=$(texts ./*)
while IFS= read -r line; do
  case $line in "${FAULTS_ONLY:-}"*) verb "$line" ;; esac
done <<END
--help
new n.xml --set PatientInfo/ID=1 --set "Own/Lead@unit=mV" --create
new a.xml --force
show a.xml
show a.xml --at original --json
show a.xml PatientInfo/ID Interpretation
log a.xml -p --since 2024-03-05 --user ksato
log a.xml --json --path PatientInfo
diff a.xml original last
diff a.xml b.xml --json
blame a.xml
blame a.xml PatientInfo --json
amend a.xml $who --set PatientInfo/ID=2 --set PatientInfo/Name/Family=B
amend a.xml $who --name PatientInfo/Name=Ann^Lee --statements Interpretation=one "two words" --json
amend a.xml $who --from changes.json --output n.xml
amend a.xml $who --set Own/Lead@unit=mV --create --dry-run
revert a.xml last $who
check a.xml
check unsound.xml --json
check -r . --jobs 1 --against digests
digest --chain a.xml
changes a.xml --csv --user x
changes a.xml --jsonl --path PatientInfo/Idd
complete paths a.xml
export a.xml
import a.json n.xml
import a.json b.xml --force
END
echo "$total positions, $broken failures"
[ $broken -eq 0 ]
