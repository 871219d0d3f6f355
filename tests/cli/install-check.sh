#!/usr/bin/env bash
# Installs a build into a temporary prefix and checks that it is complete there: the programs
# in bin/, the desktop entry and icons where a desktop menu looks for them, and the installed
# command line working from an unrelated folder (its bundled data are compiled in).
#   install-check.sh CMAKE BUILD_DIR WITH_GUI(ON|OFF)
set -euo pipefail
cmake=$1
build=$2
gui=$3
work=$(mktemp -d "${TMPDIR:-/tmp}/corvane-install.XXXXXX")
trap 'rm -rf "$work"' EXIT
fail() { echo "install-check: $*" >&2; exit 1; }

prefix=$work/prefix
"$cmake" --install "$build" --prefix "$prefix" >/dev/null
[ -x "$prefix/bin/corvane-cli" ] || fail "bin/corvane-cli is missing"

# The manual page and the bash completion, both written from the option tables.
man=$prefix/share/man/man1/corvane-cli.1
[ -f "$man" ] || fail "share/man/man1/corvane-cli.1 is missing"
grep -q '^\.SS "corvane\\-cli harvest"' "$man" || fail "the manual page has no harvest section"
if command -v groff >/dev/null; then
    groff -man -Tutf8 -ww -z "$man" 2>"$work/groff.err" || fail "groff refuses the manual page"
    [ ! -s "$work/groff.err" ] || fail "groff warns: $(head -3 "$work/groff.err")"
fi
completion=$prefix/share/bash-completion/completions/corvane-cli
[ -f "$completion" ] || fail "share/bash-completion/completions/corvane-cli is missing"
words=$(bash -c 'source "$1"; COMP_WORDS=(corvane-cli leads list --format ""); COMP_CWORD=4
    _corvane_cli; echo "${COMPREPLY[*]}"' _ "$completion")
[ "$words" = "text csv jsonl" ] || fail "completing leads list --format gave: $words"

if [ "$gui" = ON ]; then
    [ -x "$prefix/bin/corvane" ] || fail "bin/corvane is missing"
    entry=$prefix/share/applications/corvane.desktop
    [ -f "$entry" ] || fail "share/applications/corvane.desktop is missing"
    grep -qx 'Exec=corvane' "$entry" || fail "the desktop entry does not start corvane"
    icon=$(sed -n 's/^Icon=//p' "$entry")
    [ -n "$icon" ] || fail "the desktop entry names no icon"
    for size in 48x48 128x128 256x256; do
        [ -f "$prefix/share/icons/hicolor/$size/apps/$icon.png" ] ||
            fail "no $size icon $icon.png in the hicolor theme"
    done
    [ -f "$prefix/share/icons/hicolor/scalable/apps/$icon.svg" ] ||
        fail "no scalable icon $icon.svg in the hicolor theme"
    if command -v desktop-file-validate >/dev/null; then
        desktop-file-validate "$entry" || fail "desktop-file-validate refuses the entry"
    fi
fi

# Far from the source and build trees: the address endings come from the bundled list, which
# takes .com and .co.uk and not the made-up .zz.
cd "$work"
printf '<p>Write to sales@example.com, press@acme-demo.co.uk or x@y.zz</p>\n' > page.htm
leads=$("$prefix/bin/corvane-cli" --home "$work/home" extract page.htm)
expected=$'sales@example.com\npress@acme-demo.co.uk'
[ "$leads" = "$expected" ] || fail "the installed corvane-cli extracted: $leads"
echo "install-check: complete in $prefix"
