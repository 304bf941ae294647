#!/usr/bin/env bash
# Runs every test with TMPDIR on each file system in turn: filesystems.sh BUILD [FILE-SYSTEM]... [-- CTEST-OPTION...]
# Needs root, loop devices for file systems in an image, and their tools; what cannot be set up is skipped with a message.
set -uo pipefail

build=$(realpath "${1:?the build directory}")
shift
chosen=()
while [[ $# -gt 0 && $1 != -- ]]; do
  chosen+=("$1")
  shift
done
[[ ${1:-} != -- ]] || shift
[[ ${#chosen[@]} -gt 0 ]] || chosen=(ext4 xfs btrfs tmpfs overlay bindfs gluster)

stage=$(mktemp --directory /var/tmp/quill-filesystems.XXXXXX)
disk=$stage/disk
chmod 0755 "$stage" # for the ordinary users of the tests
mkdir "$disk"

take_down() {
  while mountpoint --quiet "$disk"; do umount "$disk" || umount --lazy "$disk"; done
  ! mountpoint --quiet "$stage/layers" || umount "$stage/layers"
  if [[ -d $stage/brick1 ]]; then
    gluster --mode=script volume stop quilltest force
    gluster --mode=script volume delete quilltest
    [[ -z ${glusterd:-} ]] || kill "$glusterd"
  fi &> /dev/null
  rm -rf --one-file-system "$stage"/{image,layers,brick1,brick2,below}
}
trap 'take_down; rm -rf --one-file-system "$stage"' EXIT

on_image() { # FILE-SYSTEM MKFS-OPTION...
  local kind=$1
  shift
  truncate --size=2G "$stage/image" && "mkfs.$kind" "$@" "$stage/image" && mount -o loop "$stage/image" "$disk"
}

set_up_ext4() { on_image ext4 -q -F; }
set_up_xfs() { on_image xfs -q -f; }
set_up_btrfs() { on_image btrfs -q -f; }
set_up_tmpfs() { mount -t tmpfs -o size=2g quill-test "$disk"; }
set_up_overlay() { # its layers need a file system that overlay accepts
  mkdir "$stage/layers" && mount -t tmpfs -o size=2g quill-test "$stage/layers" &&
    mkdir "$stage"/layers/{lower,upper,work} &&
    mount -t overlay -o "lowerdir=$stage/layers/lower,upperdir=$stage/layers/upper,workdir=$stage/layers/work" quill-test "$disk"
}
set_up_bindfs() { mkdir "$stage/below" && bindfs -o dev,suid,allow_other "$stage/below" "$disk"; }
set_up_gluster() {
  mkdir "$stage"/brick{1,2}
  if ! pidof glusterd; then
    glusterd --no-daemon &
    glusterd=$!
    sleep 5
  fi
  gluster --mode=script volume create quilltest replica 2 "$HOSTNAME:$stage/brick1" "$HOSTNAME:$stage/brick2" force &&
    gluster --mode=script volume start quilltest && mount -t glusterfs "$HOSTNAME:/quilltest" "$disk"
}

failed=()
for kind in "${chosen[@]}"; do
  if ! "set_up_$kind" &> "$stage/reason" || ! mountpoint --quiet "$disk"; then
    echo "SKIPPED $kind: $(tail -n 1 "$stage/reason")"
  else
    chmod 1777 "$disk"
    echo "== $kind"
    TMPDIR=$disk ctest --test-dir "$build" --output-on-failure "$@" || failed+=("$kind")
    grep -hi skipped "$build/Testing/Temporary/LastTest.log" | sort -u # by case, which ctest shows of failures alone
  fi
  take_down
done
echo "failed on: ${failed[*]:-none}"
[[ ${#failed[@]} -eq 0 ]]
