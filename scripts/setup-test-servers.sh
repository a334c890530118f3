#!/usr/bin/env bash
# Installs Dovecot for the test with a real mail server, without letting the
# package start the system's own Dovecot: the test runs its own throwaway one
# on loopback. Also a D-Bus daemon and GNOME Keyring, which the keyring test
# starts headless on a session bus of its own. Skips what is already present.
# Run as root (or with sudo).
set -euo pipefail

packages=(dovecot-core dovecot-imapd python3 util-linux openssl
          dbus-daemon dbus-bin gnome-keyring)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

SUDO=""
[ "$(id -u)" -eq 0 ] || SUDO="sudo"
echo "setup-test-servers: installing ${missing[*]}"
# policy-rc.d tells the package scripts not to start services.
policy=/usr/sbin/policy-rc.d
own_policy=0
if [ ! -e "$policy" ]; then
  printf '#!/bin/sh\nexit 101\n' | $SUDO tee "$policy" >/dev/null
  $SUDO chmod +x "$policy"
  own_policy=1
fi
trap '[ "$own_policy" -eq 1 ] && $SUDO rm -f "$policy"' EXIT
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
