# run.sh <tool> <this folder>
# The page about a hostile document in headless Chromium: what its reader sees and does (page_test.js
# tells, page.expected says what), what is printed with and without the script, that the browser
# finds nothing to complain of and is asked for nothing; then the size of a page about a long recording.
# 77, which counts as skipped, where there is no Chromium. RECORD=1 writes page.expected.
set -u
tool=$1 here=$2
for browser in chromium chromium-browser google-chrome ''; do
  command -v "${browser:-true}" >/dev/null && break
done
[ -n "$browser" ] || { echo "skipped: there is no Chromium (Debian package chromium)"; exit 77; }
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch" || exit 1

fail() { echo "$*"; exit 1; }
browse() {
  timeout 120 "$browser" --headless --no-sandbox --disable-gpu --disable-quic --no-first-run \
    --disable-background-networking --disable-component-update --disable-extensions \
    --user-data-dir="$scratch/profile" --enable-logging=stderr --virtual-time-budget=20000 "$@" \
    2>browser.log
}
console() { sed -n 's/^.*CONSOLE[^"]*"\(.*\)", source: .*$/\1/p' browser.log; }

sh "$here/hostile.sh" >hostile.xml
"$tool" report hostile.xml -o page.html 2>messages
[ $? = 1 ] || fail "the page of an unsound document ends with another code than 1"
"$tool" report hostile.xml -o hostile.xml --force 2>>messages && fail "a document was replaced by its page"
"$tool" report - <hostile.xml 2>>messages | cmp -s - /dev/null && fail "no page on the standard output"
[ "$(wc -c <page.html)" -lt 300000 ] || fail "the page carries texts of a megabyte"

# As it is: the policy lets its own style and script in, and the browser has nothing to say.
browse --log-net-log=net.json --dump-dom "file://$scratch/page.html" >dom.html
grep -q '<html lang="en" class="js"' dom.html || { cat browser.log; fail "the script does not run"; }
[ -z "$(console)" ] || fail "on the console: $(console)"
grep -q 'evil\.test' net.json && fail "the page asked for something"
echo '<img src="http://evil.test/x">' >asking.html
browse --log-net-log=asking.json --dump-dom "file://$scratch/asking.html" >/dev/null
grep -q 'evil\.test' asking.json || fail "a request would not have been seen"

# With a reader: only a copy without the policy lets another script in.
{
  sed -e '/http-equiv="Content-Security-Policy"/d' -e '/^<\/body>/,$d' page.html
  echo '<script>'
  cat "$here/page_test.js"
  echo '</script></body></html>'
} >copy.html
browse --dump-dom "file://$scratch/copy.html" >/dev/null
console >page.told
[ -z "${RECORD-}" ] || cp page.told "$here/page.expected"
diff -u "$here/page.expected" page.told || exit 1

# Printed, with and without its script: the position and every change.
if command -v pdftotext >/dev/null; then
  sed "s/script-src [^;]*;/script-src 'none';/" page.html >still.html
  for page in page still; do
    browse --no-pdf-header-footer --print-to-pdf=$page.pdf "file://$scratch/$page.html"
    pdftotext -layout $page.pdf page.txt || fail "nothing is printed: $page"
    for words in 'last position: after modification 1' 'OrderInfo/' 'StudyInfo/Status' closed two \
      three 'U+202E' '1,048,576' Signature; do
      grep -q -e "$words" page.txt || fail "not printed ($page): $words"
    done
    [ "$(grep -c 'Ann.*Patient.*321' page.txt)" = "$(grep -c 'page . of' page.txt)" ] ||
      fail "a printed sheet does not say whose it is ($page)"
    grep -q 'Zoom\|Show more\|▶' page.txt && fail "controls are printed"
  done
fi

# Millions of samples stay a small page.
{
  sed '/<Recording/,$d' hostile.xml
  echo '<Recording><Lead><Encoding code="0"/><BytePerData>2</BytePerData>'
  echo '<CountOfData>4300000</CountOfData>'
  awk 'BEGIN { for (; i < 4300000; i += 5000) {
    printf "<Data start=\"%d\" length=\"10000\">", 2 * i
    for (j = 0; j < 5000; ++j) printf "%d,", (i + j) * 7919 % 20011 - 10000
    print "</Data>" } }'
  echo '</Lead></Recording></KESTRANE_ZAM>'
} >long.xml
"$tool" report long.xml -o long.html || fail "no page of a long recording"
[ "$(wc -c <long.html)" -lt 2000000 ] || fail "the page of a long recording is too large"
grep -q '"waves":\[\[-1,4300000,' long.html || fail "the page holds no long recording"
