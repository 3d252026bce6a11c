#!/usr/bin/env bash
# Checks the package that scripts/package.sh built, as CI does (as root on Debian 12): the menu
# entry and AppStream data validate, lintian finds no error, and the package installs with dpkg,
# works from /usr/bin (version, a convert, the simulated GPIB library, man, completion) and
# removes cleanly. Exits non-zero at the first failure.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh desktop-file-utils appstream lintian man-db bash-completion

version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' build/CMakeCache.txt)
deb=build/kelvara_${version}_$(dpkg --print-architecture).deb
[ -f "$deb" ] || { echo "no $deb: run scripts/package.sh first" >&2; exit 1; }

step() { echo "== $*"; }
fail() { echo "FAILED: $*" >&2; exit 1; }
expect() {  # expect WHAT EXPECTED ACTUAL
  [ "$2" = "$3" ] || fail "$1: expected '$2', got '$3'"
}

step "lintian $deb"
lintian --fail-on error "$deb"

# Installing replaces what is there; do not take a developer's own installation away.
if dpkg-query -W -f='${Status}' kelvara 2>/dev/null | grep -q "install ok installed" &&
  [ "${CI:-}" != true ]; then
  fail "kelvara is installed already; remove it (dpkg -r kelvara) to run this check"
fi
installed=""
cleanup() { if [ -n "$installed" ]; then dpkg -P kelvara >/dev/null 2>&1 || true; fi; }
trap cleanup EXIT

step "dpkg -i"
dpkg -i "$deb"
installed=yes

step "menu entry and AppStream data"
desktop-file-validate /usr/share/applications/kelvara.desktop
appstreamcli validate --no-net /usr/share/metainfo/io.github.kelvara.Kelvara.metainfo.xml
for icon in /usr/share/icons/hicolor/scalable/apps/kelvara.svg \
  /usr/share/icons/hicolor/256x256/apps/kelvara.png; do
  [ -s "$icon" ] || fail "no $icon"
done
# PNG width and height, big-endian at bytes 16 to 23.
expect "PNG icon size" "00000100 00000100" \
  "$(od -An -tx1 -j16 -N8 /usr/share/icons/hicolor/256x256/apps/kelvara.png | tr -d ' \n' |
    sed 's/\(........\)\(........\)/\1 \2/')"

step "versions from /usr/bin, without a display"
for program in kelvara kelvara-cli kelvara-sim; do
  [ "$(command -v $program)" = /usr/bin/$program ] || fail "$program is not /usr/bin/$program"
  expect "$program --version" "$program $version" \
    "$(env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM $program --version | head -n1)"
done

step "kelvara-cli convert"
work=$(mktemp -d)
printf 'Name: CHECK\r\nSerial number: SN1\r\nFormat: 2             ; Volts vs. Kelvin\r\nLimit: 375\r\nCoefficient: 1        ; Negative\r\nPoint 1: 0.10000,390.000\r\nPoint 2: 0.20000,380.000\r\nPoint 3: 0.30000,370.000\r\n' \
  >"$work/CHECK.TZA"
(cd "$work" && kelvara-cli convert --model TAZ CHECK.TZA CHECK.TAZ)
shown=$(cd "$work" && kelvara-cli show --model taz CHECK.TAZ)
case $shown in
  *'"name":"CHECK"'*'"breakpoint_count":3,"points":[[0.1,390],[0.2,380],[0.3,370]]}') ;;
  *) fail "kelvara-cli show of the converted file: $shown" ;;
esac
rm -rf "$work"

step "kelvara-cli with the installed simulated GPIB library"
expect "identify" "KIP identified on GPIB address 12" \
  "$(KELVARA_SIM_MODEL=KIP kelvara-cli identify --model KIP --gpib 12 --gpib-library simulated)"

step "man pages"
for program in kelvara kelvara-cli kelvara-sim; do
  page=$(MANWIDTH=80 man -P cat "$program" 2>&1)
  case $page in
    *SYNOPSIS*"$program $version"*) ;;
    *) fail "man $program: $page" ;;
  esac
done

step "bash completion of kelvara-cli"
complete_words() {  # the completions of the command line "$1"
  bash -c 'source /usr/share/bash-completion/bash_completion
           source /usr/share/bash-completion/completions/kelvara-cli
           COMP_LINE=$1; COMP_POINT=${#COMP_LINE}; read -ra COMP_WORDS <<<"$COMP_LINE"
           [[ $COMP_LINE == *" " ]] && COMP_WORDS+=("")
           COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
           _kelvara_cli; printf "%s\n" "${COMPREPLY[@]}" | sort | tr "\n" " "' _ "$1"
}
expect "kelvara-cli co" "compare convert " "$(complete_words "kelvara-cli co")"
expect "--model ta" "TAZ " "$(complete_words "kelvara-cli show --model ta")"
expect "write --no" "--no-scaling --no-verify " "$(complete_words "kelvara-cli write --no")"
expect "read --pro" "--prologix --prologix-host " "$(complete_words "kelvara-cli read --pro")"

step "dpkg -r"
dpkg -r kelvara
installed=""
# Every file of the package and its own folders are gone.
leftovers=""
for path in $(dpkg-deb --fsys-tarfile "$deb" | tar -t | grep -v '/$' | sed 's|^\.||') \
  /usr/lib/*/kelvara /usr/share/doc/kelvara; do
  [ ! -e "$path" ] || leftovers+=" $path"
done
[ -z "$leftovers" ] || fail "left after dpkg -r:$leftovers"
# Without configuration files nothing of the package stays behind, not even its status.
expect "status after dpkg -r" "" \
  "$(dpkg-query -W -f='${db:Status-Status}' kelvara 2>/dev/null | grep -v '^not-installed$' || true)"
echo "package check passed: $deb"
