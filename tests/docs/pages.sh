# pages.sh <source tree> <tool>
# The pages say what the code says: their C++ is what examples have between two lines "//! [name]",
# all of it; other code is that of a file; links lead to files; the tool shows what a table tells.
cd "$1" || exit 1
zamxml=$2
wrong=$(
  awk '
    FILENAME ~ /\.md$/ {
      if (code == "") { if (/^```(cpp|cmake|xml)$/) { code = substr($0, 4); block = "" } }
      else if ($0 != "```") block = block $0 "\n"
      else {
        shown[block] = 1
        if (code == "cpp" ? !(block in snippets) : !index(files, block))
          print FILENAME ":" FNR ": the block that ends here is in no " code " file"
        code = ""
      }
      next
    }
    /^ *\/\/! \[/ {
      if (name == "") { name = $0; indent = index($0, "/"); text = "" }
      else { snippets[text] = FILENAME name; name = "" }
      next
    }
    { text = text substr($0, indent) "\n"; files = files $0 "\n" }
    END { for (text in snippets) if (!(text in shown)) print "no page shows " snippets[text] }
  ' examples/*.cpp examples/*.h tests/install/host/* share/samples/*.xml docs/*.md ./*.md
  for page in docs/*.md ./*.md; do
    grep -o '](\([^)#:]*\)[#)]' "$page" | sed 's/^](//; s/.$//' | while read -r link; do
      [ -e "$(dirname "$page")/$link" ] || echo "$page: no file $link"
    done
  done
  sed -n 's/^| `\([A-Za-z]*\/[^`]*\)` | \(.*\) | \(.*\) | \(.*\) |$/\1|\2|\3|\4/p' docs/format.md |
    { grep . || echo "no table||"; } | while IFS='|' read -r path first second last; do
      for at in "original:$first" "0:$second" "1:$last"; do
        "$zamxml" show share/samples/worked-example.xml --at "${at%%:*}" "$path" |
          grep -qxF "$path = \"${at#*:}\"" || echo "docs/format.md: $path at $at"
      done
    done
)
[ -z "$wrong" ] || { echo "$wrong"; exit 1; }
