#include "SheetPage.h"

#include <algorithm>
#include <stdexcept>

#include "HtmlText.h"
#include "terminal/Figures.h"

namespace Client {
namespace {

// The summary stands before the tiles but is known after them: it is written into room that was kept free.
constexpr std::size_t kSummaryRoom = 2048;

/// Without separators at its end.
std::string_view PathOf(const SheetSource& source) {
    const std::string_view path = source.folder;
    return path.substr(0, std::max<std::size_t>(path.find_last_not_of('/') + 1, 1));
}

std::string PageStart(const SheetSource& source) {
    const std::string_view path = PathOf(source);
    const std::string_view lastName = path.substr(path.rfind('/') + 1);
    const std::string name = ToHtml(lastName.empty() ? path : lastName);
    std::string html =
        "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>" + name;
    html +=
        " – contact sheet</title>\n<meta name=\"viewport\" content=\"width=device-width, "
        "initial-scale=1\">\n";
    html += "<meta name=\"color-scheme\" content=\"light dark\">\n<style>\n" + std::string(kSheetStyle);
    html += ":root { --width: " + std::to_string(source.box.nWidth) +
            "px; --height: " + std::to_string(source.box.nHeight) + "px; }\n</style>\n</head>\n<body>\n";
    html += "<header>\n<p>Contact sheet</p>\n<h1>" + name + "</h1>\n<p>" + ToHtml(path) + "</p>\n</header>\n";
    return html;
}

std::string Figure(const std::string& label, const std::string& value, std::string_view style = "") {
    return "<div" + (style.empty() ? "" : " class=\"" + std::string(style) + '"') + "><dt>" + label +
           "</dt><dd>" + value + "</dd></div>\n";
}

std::string Figures(const SheetFigures& figures) {
    std::string html = "<dl>\n" + Figure("Files", ToText(figures.Files()));
    html += Figure("From the cache", ToText(figures.Cached()));
    html += Figure("Failed", ToText(figures.Failed()), figures.Failed() != 0 ? "bad" : "");
    html += Figure("Per second", ToText(static_cast<std::size_t>(figures.FilesPerSecond() + 0.5)));
    html += Figure("Total time", ToText(figures.time));
    return html + "</dl>\n";
}

/// Radio buttons before the tiles: the style sheet does the filtering, so that no script is needed.
std::string Filter(const SheetFigures& figures) {
    std::string buttons = "<input type=\"radio\" name=\"show\" id=\"show-all\" checked>\n";
    std::string labels = "<label for=\"show-all\">All <span>" + ToText(figures.Files()) + "</span></label>\n";
    for (std::size_t i = 0; i < kTileKinds; ++i) {
        if (figures.tiles[i] == 0) continue;
        const std::string name(NameOf(static_cast<TileKind>(i)));
        buttons += "<input type=\"radio\" name=\"show\" id=\"show-" + name + "\">\n";
        labels += "<label for=\"show-" + name + "\" class=\"" + name + "\">" + name + " <span>" +
                  ToText(figures.tiles[i]) + "</span></label>\n";
    }
    return buttons + "<nav aria-label=\"Show\">\n" + labels + "</nav>\n";
}

std::string Summary(const SheetFigures& figures) {
    std::string html = Figures(figures);
    if (figures.Files() != 0) html += Filter(figures);
    if (html.size() > kSummaryRoom) throw std::length_error("the summary is too long");
    return html;
}

}  // namespace

SheetPage::SheetPage(const std::string& path, const SheetSource& source) : m_output(path) {
    Write(PageStart(source));
    m_summaryAt = m_written;
    Write(std::string(kSummaryRoom, ' ') + "\n<main>\n");
}

void SheetPage::Write(std::string_view html) {
    m_output.Write(html);
    m_written += html.size();
}

void SheetPage::Add(const std::string& file, const Tile& tile) {
    const std::string_view folder = std::string_view(file).substr(0, file.rfind('/') + 1);
    if (!m_inSection || folder != m_sectionFolder) {
        EndSection();
        StartSection(folder);
    }
    Write(tile.html);
}

void SheetPage::StartSection(std::string_view folder) {
    Write("<section>\n");
    if (!folder.empty()) Write("<h2>" + ToHtml(folder.substr(0, folder.size() - 1)) + "</h2>\n");
    Write("<div>\n");
    m_sectionFolder = folder;
    m_inSection = true;
}

void SheetPage::EndSection() {
    if (m_inSection) Write("</div>\n</section>\n");
}

void SheetPage::Finish(const SheetFigures& figures) {
    EndSection();
    if (figures.Files() == 0) Write("<p>There are no pictures in this folder.</p>\n");
    Write("</main>\n<footer>Made with qxtng " QXTNG_VERSION "</footer>\n</body>\n</html>\n");
    m_output.WriteAt(m_summaryAt, Summary(figures));
    m_output.Commit();
}

}  // namespace Client
