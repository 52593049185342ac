#include "analysis/SitemapFixture.h"
#include "support/FtpServer.h"
#include "support/LoopbackListener.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

QByteArray readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

} // namespace

// The upload through the curl program against a real FTP server: the file arrives byte for byte
// in the right folder, whatever form the server was typed in; a wrong password or a server that
// isn't there ends in the alert.
TEST(SitemapUpload, ThroughCurlToARealServer) {
    const QString password = "p:a@ss";
    FtpServer server("webmaster", password);
    ASSERT_TRUE(server.isRunning()) << server.startError().toStdString();
    ASSERT_TRUE(QDir(server.root()).mkpath("htdocs"));

    // A port nothing listens on: bound, then closed.
    int closedPort = 0;
    {
        LoopbackListener listener("closed port");
        closedPort = listener.port;
    }
    const struct {
        QString server, directory, user, password;
        QString arrivesAt; // relative to the served root; empty for a failure
        QString alertText;
    } cases[] = {
        {"ftp://" + server.hostAndPort(), "htdocs", "webmaster", password, "htdocs/sitemap.xml", ""},
        {server.hostAndPort(), "", "webmaster", password, "sitemap.xml", ""},
        {"http://" + server.hostAndPort(), "htdocs", "webmaster", password, "htdocs/sitemap.xml", ""},
        {server.hostAndPort(), "htdocs", "webmaster", "wrong", "", "ftp error: exit code: 67\n"},
        {QString("127.0.0.1:%1").arg(closedPort), "htdocs", "webmaster", password, "",
         "ftp error: exit code: 7\n"},
    };
    for (const auto& c : cases) {
        SitemapFixture f;
        f.page("http://site.test/?a=1&b=2", 0);
        f.config.setValueForKey("ftpserver", c.server);
        f.config.setValueForKey("ftpdirectory", c.directory);
        f.config.setValueForKey("ftpusername", c.user);
        f.config.setValueForKey("ftppassword", c.password);
        QFile::remove(server.root() + "/sitemap.xml");
        QFile::remove(server.root() + "/htdocs/sitemap.xml");
        QTemporaryDir local;
        const QString path = local.filePath("sitemap.xml");
        ASSERT_TRUE(f.seo.exportXMLSitemapAndSaveTo(path));
        const bool sent = f.seo.exportXMLSitemapAndFTP(path);
        EXPECT_TRUE(f.config.stringForKey("ftpserver").startsWith("ftp://")) << c.server.toStdString();
        if (c.arrivesAt.isEmpty()) {
            EXPECT_FALSE(sent) << c.server.toStdString();
            ASSERT_EQ(f.ui.alerts.size(), 1) << c.server.toStdString();
            EXPECT_EQ(f.ui.alerts[0].first, "ftp unsuccessful");
            EXPECT_EQ(f.ui.alerts[0].second, c.alertText);
        } else {
            EXPECT_TRUE(sent) << c.server.toStdString();
            EXPECT_TRUE(f.ui.alerts.isEmpty());
            EXPECT_EQ(readAll(server.root() + "/" + c.arrivesAt), readAll(path)) << c.server.toStdString();
        }
    }
}

// With no server there is nothing to do and nothing to tell.
TEST(SitemapUpload, NoServerDoesNothing) {
    SitemapFixture f;
    f.seo.setSitemapLocation("/nonexistent/sitemap.xml");
    EXPECT_FALSE(f.seo.transferFiles());
    EXPECT_TRUE(f.ui.alerts.isEmpty());
}
