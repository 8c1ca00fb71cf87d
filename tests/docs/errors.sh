# errors.sh <source tree>
# docs/errors.md has each code of the library with its sentence, no other code, and each sentence
# that the library logs: a literal of three words or more that begins with a capital letter.
cd "$1" || exit 1
page=docs/errors.md
wrong=$(
  sed -n 's/.* int \(Code[A-Za-z]*\) = \(-[0-9]*\);/\1 \2/p' src/platform/codes.h |
    { grep . || echo "no code"; } | while read -r name code; do
      sentence=$(sed -n "/case zam::$name:/{n;s/.*u\"\(.*\)\";/\1/p}" src/platform/util.cpp)
      grep -qF "| \`$code\` | $sentence |" $page || echo "$page has no row $code: $sentence"
    done
  known=$(
    echo -1
    sed -n 's/.* int Code[A-Za-z]* = \(-[0-9]*\);/\1/p' src/platform/codes.h
    for result in $(sed -n 's/.*static_cast<HRESULT>(\(0x[0-9A-F]*\)U);/\1/p' \
      include/zamxml/platform/error.h); do
      echo $((result - 0x100000000))
    done
  )
  for code in $(sed -n 's/^| `\{0,1\}\(-[0-9]*\)`\{0,1\} |.*/\1/p' $page); do
    echo "$known" | grep -qx -e "$code" || echo "$page: there is no code $code"
  done
  find src -name '*.cpp' -exec cat {} + | tr '\n' ' ' |
    sed 's/\\"/\x01/g; s/" *+\{0,1\} *u\{0,1\}"//g' |
    grep -o '"[A-Z][A-Za-z]* [^" ][^" ]* [^"]*"' | sed 's/^"//; s/ *"$//; s/\x01/"/g' |
    { grep . || echo "no sentence"; } | while read -r sentence; do
      grep -qF "$sentence" $page || echo "$page has no sentence: $sentence"
    done
)
[ -z "$wrong" ] || { echo "$wrong"; exit 1; }
