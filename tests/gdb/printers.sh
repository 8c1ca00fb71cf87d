# printers.sh <printers> <program>
# Shows the values of the program in gdb. Skipped where there is no gdb, or it may run nothing.
set -u
command -v gdb >/dev/null || exit 77
gdb -nx -batch -ex run --args true 2>&1 | grep -q 'exited normally' || exit 77

shown=$(gdb -nx -batch -iex 'set auto-load no' -ex 'set host-charset UTF-8' -ex "source $1" \
  -ex 'break Stop' -ex run -ex up -ex 'print none' -ex 'print empty' -ex 'print text' \
  -ex 'print view' -ex 'print string' -ex 'print list' -ex 'print handle' -ex 'print dead' \
  -ex 'print null' "$2" 2>&1)
expected='$1 = null
$2 = u""
$3 = u"Nováková 🙂"
$4 = u"Nováková 🙂"
$5 = u"山田"
$6 = ZAMArray of 3 = {u"one", u"two", u"three"}
$7 = Visit/Name
$8 = dead
$9 = null'
[ "$(echo "$shown" | grep '^\$')" = "$expected" ] || { echo "$shown"; exit 1; }
