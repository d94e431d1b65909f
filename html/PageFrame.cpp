#include "html/PageFrame.h"

#include "html/Escape.h"

#include <utility>

PageFrame::PageFrame(std::string basePath_, std::optional<InlineResources> inlined_)
    : basePath(std::move(basePath_)), inlined(std::move(inlined_)) {}

void PageFrame::writeHeadStart(PageSink& page) const {
    page << "<!--[if ie 7]>"
            "\n<!DOCTYPE html PUBLIC \"-//W3C//DTD XHTML 1.0 Strict//EN\""
            "\n   \"http://www.w3.org/TR/xhtml1/DTD/xhtml1-strict.dtd\">"
            "\n<![endif]-->"
            "\n<html xmlns=\"http://www.w3.org/1999/xhtml\" xml:lang=\"en\" lang=\"en\">"
            "\n<meta http-equiv=\"Content-Type\" content=\"text/html; charset=utf-8\">"
            "\n<head>"
            "\n<title>ORB - analyst report</title>"
            "\n";
    writeScripts(page);
}

void PageFrame::writeHeadEnd(PageSink& page, std::string_view caption) const {
    writeStyleSheet(page);
    page << "\n</head>"
            "\n<body>";
    writeBanner(page, caption);
}

void PageFrame::writeEnd(PageSink& page) {
    page << "\n</body>"
            "\n</html>";
}

void PageFrame::writeScripts(PageSink& page) const {
    if (inlined)
        page << "\n<script type=\"text/javascript\">\n" << Escape::scriptElement(inlined->bundle) << "\n</script>";
    else
        page << "\n<script type=\"text/javascript\" src=\"" << basePath << "_files/orbi.min.js\"></script>";
    page << "\n<script type=\"text/javascript\">"
            "\n $(function() {"
            "\n\t $('.orbBox').sparkline('html', {type: 'bar' ,width: '200px', fillColor: false, barColor: 'green', "
            "\n\t normalRangeMin: '1', normalRangeMax: '2'"
            "\n\t } );"
            "\n"
            "\n\t $('.orbLine').sparkline('myhtml', {type: 'line', width: '100px', lineColor: 'green', fillColor: false,"
            "\n\t spotColor: '', minSpotColor: 'blue', maxSpotColor: 'red', spotRadius: '1.5',"
            "\n\t normalRangeMin: '1', normalRangeMax: '3'"
            "\n\t } );"
            "\n });"
            "\n </script>";
    // The canvas emulation does nothing where the browser has a canvas of its own; inline, it
    // needs no conditional comment, which any "-->" in the script would end.
    if (inlined)
        page << "\n<script type=\"text/javascript\">\n" << Escape::scriptElement(inlined->canvasScript) << "\n</script>";
    else
        page << "\n<!--[if IE]>"
                "\n\t<script type=\"text/javascript\" src=\"" << basePath << "_files/excanvas.compiled.js\"></script>"
                "\n<![endif]-->";
}
void PageFrame::writeStyleSheet(PageSink& page) {
    page << "\n<style type=\"text/css\">"
            "\n<!--"
            "\n.OrbStyle_fixed        {color: black;font-family:courier;font-size:xx-small;text-align: center;}"
            "\n.OrbStyle_fixedSmall   {color: black;font-family:courier;font-size:xx-small;text-align: center;}"
            "\n.OrbStyle_tableOddLine {background-color:#FFFFFF;}"
            "\n.OrbStyle_tableEvenLine{background-color:#E8E8E8;}"
            "\n.blBorderLeft {"
            "\n\tborder-left-style: solid;"
            "\n\tborder-left-color: #000000;"
            "\n\tborder-left-width: 2px;"
            "\n\tborder-top-width: 0px;"
            "\n\tborder-right-width: 0px;"
            "\n\tborder-bottom-width: 1px;"
            "\n\ttext-indent: 5px;"
            "\n\tborder-bottom-style: solid;"
            "\n\tborder-bottom-color: #CCCCCC;"
            "\n}"
            "\n.thinline {"
            "\n\tborder-bottom-width: 1px;"
            "\n\tborder-bottom-style: solid;"
            "\n\tborder-bottom-color: #CCCCCC;"
            "\n}"
            "\n.greyBorderBottom {"
            "\n\tpadding-right: 5px;"
            "\n\tborder-bottom-width: 1px;"
            "\n\tborder-bottom-style: solid;"
            "\n\tborder-bottom-color: #CCCCCC;"
            "\n}"
            "\n.blBorderBottom {"
            "\n\tborder-bottom-width: 2px;"
            "\n\tborder-bottom-style: solid;"
            "\n\tborder-bottom-color: #000000;"
            "\n\ttext-align: center;"
            "\n}"
            "\n.blBorderBottomLeft {"
            "\n\tborder-bottom-width: 2px;"
            "\n\tborder-left-width: 2px;"
            "\n\tborder-bottom-style: solid;"
            "\n\tborder-left-style: solid;"
            "\n\tborder-bottom-color: #000000;"
            "\n\tborder-left-color: #000000;"
            "\n\ttext-align: center;"
            "\n}"
            "\n.style3 {font-size: large}"
            "\n.sparkContainer {float:left;height:20px; }"
            "\n.sparkLB {float:left;height:50%;background-color:#B8B8FF;position:relative;top:25%}"
            "\n.sparkBl {float:left;width:42px;height:100%;background-color:blue;}"
            "\n-->"
            "\n</style>";
}

void PageFrame::writeBanner(PageSink& page, std::string_view caption) const {
    page << "\n<H1 style=\"text-align:center;font-family: Verdana, Arial, Helvetica, sans-serif;font-style: italic\">"
            "ORBi<span style=\"font-size: medium\">-"
            "\n\t  <b><font style=\"color:red\"   >O</font>pen <font style=\"color:red\" >R</font>eport <font style=\"color:red\" >B</font>uilder"
            "\n\t  Ed<font style=\"color:red\">i</font>tion</b>"
            "\n\t  <img src=\"";
    if (inlined)
        page << inlined->logoUri;
    else
        page << basePath << "_files/logo.png";
    page << "\" width=\"50\" height=\"55\" align=\"absmiddle\" />"
            "\n\t  <u>" << Escape::inlineMarkup(caption) << "</u></span> </H1>";
}
