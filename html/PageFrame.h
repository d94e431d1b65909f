#pragma once
// The frame around the page's sections: the document start, the head's scripts and style
// sheet, the banner with the logo, and the end.

#include "html/PageSink.h"

#include <optional>

class PageFrame {
public:
    // The resources that a self-contained page carries instead of loading them from its side
    // folder: the combined script, the canvas emulation script, the logo as a data: URI.
    struct InlineResources {
        std::string bundle;
        std::string canvasScript;
        std::string logoUri;
    };

    // The page names its side folder's files basePath + "_files/" + file (UTF-8, written as it
    // is); with inlined resources it names none.
    explicit PageFrame(std::string basePath, std::optional<InlineResources> inlined = std::nullopt);

    // From the document start to the page's scripts, inside the open head element.
    void writeHeadStart(PageSink& page) const;
    // The style sheet, the head's end, the body's start and the banner, whose caption is shown
    // as inline markup.
    void writeHeadEnd(PageSink& page, std::string_view caption) const;
    // The body's and the document's end.
    static void writeEnd(PageSink& page);

private:
    void writeScripts(PageSink& page) const;
    static void writeStyleSheet(PageSink& page);
    void writeBanner(PageSink& page, std::string_view caption) const;

    std::string basePath;
    std::optional<InlineResources> inlined;
};
