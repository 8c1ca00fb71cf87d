# pkg_config.sh <library folder> <host source> <host program> <sample> <compiler and flags>...
# Builds the host with what pkg-config says about the installed copy, and runs it.
set -eu
libraries=$1 source=$2 program=$3 sample=$4
shift 4

export PKG_CONFIG_PATH="$libraries/pkgconfig"
# The flags are words to be split.
# shellcheck disable=SC2046
"$@" -std=c++20 "$source" -o "$program" $(pkg-config --cflags --libs zamxmldata)
LD_LIBRARY_PATH="$libraries" "$program" "$sample"
