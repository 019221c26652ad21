# Shows a public header to Doxygen the way a reader sees it: the paragraph at
# the top describes the file, a plain `//` comment right above a declaration
# documents it, and one behind a member (`int x; // ...`) documents that
# member. Section rulers (`// --- ... ---`) stay plain comments. Angle
# brackets outside `code` are text, not HTML. Lines are neither added nor
# removed, so warnings point at the real line.
BEGIN { top = 1 }

function text(line,    out, i, c, code) {
    out = ""
    code = 0
    for (i = 1; i <= length(line); i++) {
        c = substr(line, i, 1)
        if (c == "`")
            code = !code
        else if (!code && (c == "<" || c == ">"))
            c = "\\" c
        out = out c
    }
    return out
}

top && /^\/\// {
    sub(/^\/\//, "///")
    paragraph[count++] = text($0)
    next
}
top {
    if (count > 0)
        paragraph[count - 1] = paragraph[count - 1] " @file"
    for (i = 0; i < count; i++)
        print paragraph[i]
    top = 0
}
/^[ \t]*\/\/ ---/ { print; next }
/^[ \t]*\/\/( |$)/ { sub(/\/\//, "///"); print text($0); next }
{ sub(/; +\/\/ /, "; ///< "); print }
