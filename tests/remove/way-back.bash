# SPDX-License-Identifier: MIT
# The scenarios of putting back. Sourced by `scenario`, whose functions they use.
# shellcheck shell=bash disable=SC2154 # the machine's variables

# came_back: everything is as it was at `look $work/before`.
came_back() {
  look $work/after
  python3 -B "$here/came_back.py" $work/before $work/after "${items[@]/#@//home/*}" "${preferences[@]/#@//home/*}" ||
    fail 'the disk is not as before'
}

# Sam and anna, and items of the system with all attributes that a restore has to keep.
install_for_two() {
  without_other_people
  install sam && add_person anna 1002
  chown -R root:root /Applications /Library
  local app=/Applications/Quillmark/Tessaly.app
  chmod 2775 /Applications/Quillmark && chown root:games /Applications/Quillmark
  touch -d '2020-02-02 02:02:02.02 UTC' /Applications/Quillmark
  chown -R daemon:games $app/Contents/Resources && chmod 0750 $app/Contents/Resources
  chmod 4755 $app/Contents/MacOS/Tessaly && chmod 0600 /Library/Preferences/com.quillmark.tessaly.plist
  python3 -c 'import os, sys; [os.setxattr(each, "user.label", b"red") for each in sys.argv[1:]]' \
    $app $app/Contents/Info.plist "$home/Library/Caches/com.quillmark.tessaly"
  chmod 0500 "$home/Library/Caches/com.quillmark.tessaly/thumbnails"
}
remove_for_two() { expect 0 root_removes --yes --preferences --user sam --user anna; }

what_was_moved_comes_back_as_it_was() {
  install sam
  look $work/before
  untouched expect 0 person_removes --yes --restore --report=json
  reported 'report["restore"]' 'report["items"] == []' 'report["summary"] == "Nothing is left to put back."'
  expect 0 person_removes --yes --preferences
  untouched expect 2 person_removes --plan --restore --report=json
  reported 'report["plan"]' 'not report["changed"]' 'outcomes == {"comes_back": 13}' \
    'items["/Applications/Tessaly.app"]["trashed_to"] == "/home/sam/.local/share/Trash/files/Tessaly 2.app"' \
    'items["/Applications/Tessaly.app"]["bytes"] > 300000'
  untouched expect 2 person_removes --restore
  printed '13 items would be put back. Nothing has been changed. Use --yes to do it.'
  expect 0 person_removes --yes --restore --report=json
  reported 'report["changed"]' 'outcomes == {"restored": 13}' 'report["summary"] == "Nothing is left to put back."' \
    'all(item["trashed_to"] is None for item in items.values())'
  came_back
  untouched expect 0 person_removes --yes --restore --report=json
  reported 'not report["changed"]'
  expect 0 person_removes --yes --preferences
  expect 0 person_removes --yes --restore
  came_back
}

root_gives_two_persons_back_what_was_there() {
  install_for_two
  look $work/before
  remove_for_two
  untouched expect 2 root_removes --restore --plan --report=json
  reported 'outcomes == {"comes_back": 21}' 'items["/Applications/Tessaly.app"]["trash_of"] == "root"'
  expect 0 root_removes --restore --yes --report=json
  reported 'outcomes == {"restored": 21}'
  came_back
  [ ! -e $by_root ] || fail 'what has come back is still remembered'
  untouched expect 0 root_removes --restore --yes --report=json
  reported 'not report["changed"]'
}

only_the_last_run_that_moved_something_comes_back() {
  install sam
  expect 0 person_removes --yes
  untouched expect 0 person_removes --yes
  expect 0 person_removes --yes --preferences
  mkdir -p "$home/Library/Caches/com.quillmark.tessaly" && mount -t tmpfs caches "$home/Library/Caches/com.quillmark.tessaly"
  expect 2 person_removes --yes
  umount "$home/Library/Caches/com.quillmark.tessaly"
  expect 0 person_removes --yes --restore --report=json
  reported 'outcomes["restored"] == 4' '"/Applications/Tessaly.app" not in items'
}

nothing_that_is_there_now_is_replaced_on_the_way_back() {
  install_for_two
  remove_for_two
  mkdir -p /Applications/Tessaly.app
  echo new >/Applications/Tessaly.app/file
  ln -s /nowhere "$home/Library/LaunchAgents/com.quillmark.Tessaly.plist"
  look $work/untouched-before
  expect 2 root_removes --restore --yes --report=json
  reported 'outcomes == {"restored": 19, "stayed": 2}' \
    'items["/Applications/Tessaly.app"]["reason"] == "Something else is there now."' \
    'items["/Applications/Tessaly.app"]["trashed_to"] == "/.Trash-0/files/Tessaly 2.app"'
  [ "$(cat /Applications/Tessaly.app/file)" = new ] || fail 'what was there is gone'
  [ "$(readlink "$home/Library/LaunchAgents/com.quillmark.Tessaly.plist")" = /nowhere ] || fail 'the link is gone'
  rm -r /Applications/Tessaly.app "$home/Library/LaunchAgents/com.quillmark.Tessaly.plist"
  expect 0 root_removes --restore --yes --report=json
  reported 'outcomes["restored"] == 2'
  [ -e /Applications/Tessaly.app/Contents/Info.plist ] || fail 'it has not come back'
}

what_is_not_in_the_trash_any_more_is_told() {
  install sam
  expect 0 person_removes --yes
  rm -r "$home/.local/share/Trash/files/Tessaly 2.app" "$home/.local/share/Trash/info/Tessaly 2.app.trashinfo"
  untouched expect 2 person_removes --restore --plan
  expect 2 person_removes --restore --yes
  printed 'It is not in the Trash any more.'
  printed '1 item cannot be found any more.'
  mkdir /Applications/Tessaly.app && chown sam /Applications/Tessaly.app
  expect 0 person_removes --restore --yes
  [ ! -e "$home/.local/state/tessaly-remove" ] || fail 'it is remembered for nothing'
}

# A user controls what is in the user's own Trash, and nothing else.
a_person_gives_root_nothing_to_put_into_the_system() {
  install_for_two
  look $work/before
  remove_for_two
  local trash=$home/.local/share/Trash
  # Items that root could mistake for the system's, in the user's own Trash and record.
  mkdir -p "$trash/files/Tessaly.app/Contents" "$home/.local/state/tessaly-remove"
  echo evil >"$trash/files/Tessaly.app/Contents/evil"
  printf '[Trash Info]\nPath=/Applications/Tessaly.app\nDeletionDate=2037-01-01T00:00:00\n' >"$trash/info/Tessaly.app.trashinfo"
  cp $by_root/last-run "$home/.local/state/tessaly-remove"
  # A folder in the home has been closed to the user since.
  mkdir -p "$home/Library/Preferences" && chown root:root "$home/Library/Preferences"
  # One of the user's own items leads into the system; another one's destination does.
  rm -r "$trash/files/com.quillmark.tessaly"
  ln -s /etc "$trash/files/com.quillmark.tessaly"
  rm -r "$home/Library/LaunchAgents"
  mkdir /etc/closed
  ln -s /etc/closed "$home/Library/LaunchAgents"
  chown -Rh sam:sam "$home/.local" "$home/Library/LaunchAgents"
  expect 2 root_removes --restore --yes --report=json
  reported 'items["/home/sam/Library/Preferences/com.quillmark.tessaly.plist"]["reason"].startswith("It is in the Trash of a user who may not write")'
  reported 'all(item["outcome"] == "restored" for item in items.values() if item["user"] != "sam")'
  [ -z "$(find /Applications /Library -name evil)" ] || fail 'root has brought in what a person made'
  [ -z "$(ls -A /etc/closed)" ] || fail 'root was led into a folder of its own'
  [ "$(readlink "$home/Library/Caches/com.quillmark.tessaly")" = /etc ] || fail "the person's own item is not the person's"
  look $work/after
  python3 -B "$here/came_back.py" <(without_sam $work/before) <(without_sam $work/after) "${items[@]/#@//home/*}" "${preferences[@]/#@//home/*}" ||
    fail 'what is not the person'"'"'s is not as before'
}
without_sam() {
  python3 -c 'import json, sys
kept = {path: entry for path, entry in json.load(open(sys.argv[1])).items() if not path.startswith(("/home/sam", "/etc", "/var/lib"))}
print(json.dumps(kept))' "$1"
}

what_others_could_have_written_is_not_believed() {
  install_for_two
  remove_for_two
  chmod 0666 $by_root/last-run
  untouched expect 75 root_removes --restore --yes
  printed 'The record of the last run couldn’t be read: Operation not permitted.'
  chmod 0600 $by_root/last-run && chown sam $by_root/last-run
  untouched expect 75 root_removes --restore --yes
  chown root $by_root/last-run && ln $by_root/last-run $by_root/other
  untouched expect 75 root_removes --restore --yes
  rm $by_root/other && chmod 0777 $by_root
  untouched expect 75 root_removes --restore --yes --report=json
  reported 'report["status"] == 75' 'report["items"] == []'
  chmod 0700 $by_root
  # Not even root can be made to put back an item that is not the product's, or is of another account.
  sed -i 's|/Applications/Tessaly.app|/Applications/Other.app|; s|^item sam sam 1001 |item sam sam 1009 |' $by_root/last-run
  sed -i 's|^Path=.*|Path=Applications/Other.app|' '/.Trash-0/info/Tessaly 2.app.trashinfo'
  expect 2 root_removes --restore --yes --report=json
  reported 'items["/Applications/Other.app"]["reason"] == "No item of Tessaly belongs there."' 'outcomes["stayed"] == 9' \
    'items["/home/sam/Library/Caches/com.quillmark.tessaly"]["reason"].endswith("Another account may have that name now.")'
  [ ! -e /Applications/Other.app ] || fail 'what is none of the product came out of the Trash'
}

without_rights_the_systems_items_do_not_come_back() {
  install sam
  expect 0 person_removes --yes
  chown root:root /Applications
  expect 3 person_removes --restore --yes --report=json
  reported 'outcomes == {"restored": 6, "stayed": 3}' \
    'all(item["needs_rights"] == (item["outcome"] == "stayed") for item in items.values())'
  expect 3 person_removes --restore --yes
  printed '3 items were not put back. More rights are needed; run it as root.'
  chown sam /Applications
  expect 0 person_removes --restore --yes --report=json
  reported 'outcomes["restored"] == 3'
  [ -e /Applications/Quillmark/Tessaly.app/Contents/Info.plist ] || fail 'it has not come back'
}

what_cannot_be_remembered_does_not_go() {
  install_for_two
  look $work/before
  mkdir -m 0700 $by_root && mount -t tmpfs -o size=4k,mode=0700 full $by_root
  head -c 4096 /dev/zero >$by_root/full
  untouched expect 75 root_removes --yes --user sam
  printed 'Nothing has been done, because no record for --restore could be written: No space left on device.'
  rm $by_root/full
  remove_for_two
  # What has come back cannot be recorded on the full disk, and is found at its place.
  head -c 4096 /dev/zero >$by_root/full || :
  expect 0 root_removes --restore --yes
  umount $by_root && rmdir $by_root
  came_back
}

# The records of moved items are lost, as in a power cut; the list of items to be moved is not.
what_was_not_noted_is_looked_for_in_the_trash() {
  install_for_two
  look $work/before
  remove_for_two
  sed -i '/^went /d; /^folder-went/d' $by_root/last-run
  printf 'went 0 /.Trash-0/fi' >>$by_root/last-run
  expect 0 root_removes --restore --yes --report=json
  reported 'outcomes == {"restored": 21}'
  came_back
}

