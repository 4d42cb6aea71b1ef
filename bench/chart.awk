# Draws the figures that have a floor and a bar to reach, out of the lines of Record(), as an SVG picture.
BEGIN {
    FS = "\t"
    n = 0; left = 290; unit = 360; step = 34; top = 64   # pixels; a unit is the time of the floor
}
$7 != "" && $8 != "" {
    work[n] = $2
    floorName[n] = $5; ratio[n] = $7; bar[n] = $8
    n++
}
function escaped(text) { gsub(/&/, "\\&amp;", text); gsub(/</, "\\&lt;", text); return text }
function text(x, y, anchor, class, what) {
    printf "<text x=\"%.0f\" y=\"%.0f\" text-anchor=\"%s\" class=\"%s\">%s</text>\n", x, y, anchor, class, escaped(what)
}
END {
    width = left + unit * 1.25 + 190; height = top + n * step + 44
    printf "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %d %d\" font-family=\"sans-serif\" font-size=\"13\">\n", width, height
    print "<style>text{fill:#333}.title{font-size:16px;font-weight:600}.small{font-size:11px;fill:#777}.rows{fill:#2a78b8}.missed{fill:#c0392b}@media(prefers-color-scheme:dark){text{fill:#ddd}.small{fill:#aaa}}</style>"
    text(16, 26, "start", "title", "Time beside the bare codec's for the same bytes; pictures of 12 megapixels")
    text(left + unit, top - 12, "middle", "small", "the bare codec")
    for (i = 0; i < n; i++) {
        y = top + i * step
        text(left - 10, y + 16, "end", "", work[i])
        printf "<rect x=\"%d\" y=\"%d\" width=\"%.1f\" height=\"20\" rx=\"2\" class=\"%s\"/>\n", left, y + 2, ratio[i] * unit, (ratio[i] > bar[i] ? "missed" : "rows")
        printf "<path d=\"M%.1f %dv24\" stroke=\"#e67e22\" stroke-width=\"2.5\"/>\n", left + bar[i] * unit, y
        at = (ratio[i] > bar[i] ? ratio[i] : bar[i]) * unit + left + 8
        text(at < left + unit && at > left + unit - 60 ? left + unit + 8 : at, y + 16, "start", "small", sprintf("%.3g x %s", ratio[i], floorName[i]))
    }
    printf "<path d=\"M%d %dV%d\" stroke=\"#888\" stroke-dasharray=\"4 3\"/>\n", left + unit, top - 6, top + n * step
    text(left, top + n * step + 24, "start", "small", "orange: what is to be reached at most")
    print "</svg>"
}
