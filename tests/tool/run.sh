# run.sh <folder of the tool> <installed share folder> <scenario>
# Plays a scenario in a fresh folder and compares what happens with what it says: the commands after
# "$ " or "! ", what they print (both streams), and in brackets an exit code that is not 0 or, after
# "! ", not 2. Times of today and fresh identifiers read WHEN and UID; "| $fields" prints JSON field
# by field. Afterwards every document but bad*.xml must fit the schema; no temporary file is left.
set -u
PATH=$1:$PATH
share=$2 scenario=$3
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir "$scratch/work" "$scratch/tmp"
cd "$scratch/work" || exit 1
cp "$share/zamxml/samples/stress-test.xml" sample.xml
who="--user jd --user-name Jane" fields="json_pp -json_opt canonical,pretty"
unset NO_COLOR
export TMPDIR="$scratch/tmp" share who fields LC_ALL=C.UTF-8

play() {
  while IFS= read -r line; do
    case $line in
      "# "*) printf '%s\n' "$line" ;;
      "\$ "* | "! "*)
        printf '%s\n' "$line"
        sh -c "${line#??}" </dev/null 2>&1
        code=$?
        case "$line $code" in "\$ "*" 0" | "! "*" 2") ;; *) echo "[$code]" ;; esac
        ;;
    esac
  done
}

play <"$scenario" |
  sed -E '/^[$!] /!s/20(2[5-9]|[3-9][0-9])-[0-9]{2}-[0-9]{2} [0-9:]{8}/WHEN/; /^[$!] /!s/2\.25\.[0-9]{20,}/UID/' \
    >"$scratch/played"
[ -z "${RECORD-}" ] || cp "$scratch/played" "$scenario"
diff -u "$scenario" "$scratch/played" || exit 1

for document in *.xml; do
  case $document in
    bad*) ;;
    *) xmllint --noout --schema "$share/zamxml/zamxml-document.xsd" "$document" || exit 1 ;;
  esac
done 2>"$scratch/schema" || { cat "$scratch/schema"; exit 1; }
left=$(find "$scratch/tmp" -type f && find . -name '.zamxml-*')
[ -z "$left" ] || { echo "left behind: $left"; exit 1; }
