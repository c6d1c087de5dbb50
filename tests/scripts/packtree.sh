# pack_tree FOLDER: the tree's files as a tar archive on standard output: what git would
# give to others, with what is not committed yet. A tree without git leaves out what
# .gitignore names. Sourced, not run.
pack_tree() {
    local pack=(tar --directory "$1" --create)
    if git -C "$1" rev-parse >/dev/null 2>&1; then
        git -C "$1" ls-files -z --cached --others --exclude-standard |
            "${pack[@]}" --null --verbatim-files-from --files-from - --ignore-failed-read
    else
        "${pack[@]}" --exclude ./build --exclude ./.git --exclude ./.cache --exclude '*.user' \
            --exclude ./CMakeUserPresets.json --exclude compile_commands.json \
            --exclude './examples/beach/beach-sketch.*' .
    fi
}
