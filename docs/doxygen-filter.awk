# Makes the links of a page work in the pages that doxygen builds. A heading gets the label that it
# has on the web, after the name of its page, since doxygen needs labels that are unique among all
# pages. A link to a header becomes a link to its reference.

# The label of a heading of that page.
function label(page, heading) {
  heading = tolower(heading)
  gsub(/[^a-z0-9 _-]/, "", heading)
  gsub(/ /, "-", heading)
  return page "-" heading
}

BEGIN {
  page = ARGV[1]
  gsub(/.*\/|\.md$/, "", page)
}
/^```/ { code = !code }
!code && /^##+ / {
  heading = $0
  sub(/^#+ /, "", heading)
  $0 = $0 " {#" label(page, heading) "}"
}
!code {
  gsub(/\]\(#/, "](#" page "-")
  while (match($0, /\]\([a-z\/.]+\.md#/)) {
    target = substr($0, RSTART + 2, RLENGTH - 6)
    sub(/.*\//, "", target)
    $0 = substr($0, 1, RSTART + 1) "#" target "-" substr($0, RSTART + RLENGTH)
  }
  gsub(/\]\(include\/[a-z\/]*\//, "](@ref ")
}
{ print }
