#pragma once

// A site of three pages the real Markup Validator judges differently: "/" is valid, "/errors.html"
// has 3 errors, "/warnings.html" has 2 warnings (no character encoding declared anywhere). The
// validator checks HTML5 only through an outside service it lacks, so these are HTML 4.01.
#include "support/TestServer.h"

inline void addValidationSite(TestServer& site) {
    const QByteArray strict = "<!DOCTYPE HTML PUBLIC \"-//W3C//DTD HTML 4.01//EN\" "
                              "\"http://www.w3.org/TR/html4/strict.dtd\">\n";
    const QByteArray charset = "<meta http-equiv=\"Content-Type\" content=\"text/html; charset=utf-8\">";
    site.addPage("/",
                 strict + "<html><head>" + charset +
                     "<title>Valid</title></head><body><p><a href=\"/errors.html\">e</a> "
                     "<a href=\"/warnings.html\">w</a></p></body></html>",
                 "text/html; charset=utf-8");
    site.addPage("/errors.html",
                 strict + "<html><head>" + charset +
                     "<title>Errors</title></head><body><p><blink>1</blink><font>2</font></p>"
                     "<center>3</center></body></html>",
                 "text/html; charset=utf-8");
    site.addPage(
        "/warnings.html",
        strict +
            "<html><head><title>Warnings</title></head><body><p><a href=\"/\">home</a></p></body></html>",
        "text/html");
}
