# Debian packages the project needs, and a function that installs the missing ones.
# Sourced by the quick-start scripts and CI.
VFL_DEPS="cmake ninja-build g++ clang-14 clang-format libclang-rt-14-dev ccache pkg-config libgtest-dev libgmock-dev libbenchmark-dev python3 sox libsox-fmt-all sndfile-programs ffmpeg bc libblkid-dev liburing-dev libpng-dev libmp3lame-dev mp3val python3-mutagen libgtk-3-dev xvfb xdotool xauth strace"

vfl_install_deps() {
  local missing=""
  for p in $VFL_DEPS; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing="$missing $p"
  done
  if [ -n "$missing" ]; then
    echo "Installing:$missing"
    if [ "$(id -u)" -ne 0 ]; then SUDO=sudo; else SUDO=; fi
    $SUDO apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq $missing
  fi
}
