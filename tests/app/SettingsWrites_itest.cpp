// What a person at the terminal sees when settings can't be written or a named file is no
// settings file: the built `trellium` runs as a child, with its home on a small filesystem
// that the test mounts, full or read-only.
#include "platform/Plist.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QUrl>
#include <gtest/gtest.h>
#include <sys/stat.h>
#ifdef __linux__
#include <sys/mount.h>
#endif

namespace {

struct Outcome {
    int exitCode = -1;
    QString err;
};

// Runs the command line with HOME and the XDG folders under `home`; a child that has not
// ended in 20 seconds is killed, and the test sees it as a hang.
Outcome runCli(const QString& home, const QStringList& args) {
    QProcess child;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("HOME", home);
    env.insert("XDG_DATA_HOME", home + "/share");
    env.insert("XDG_CONFIG_HOME", home + "/config");
    env.remove("TRELLIUM_LOG");
    child.setProcessEnvironment(env);
    child.start(TRELLIUM_PROGRAM, args);
    if (!child.waitForFinished(20000)) {
        child.kill();
        child.waitForFinished();
        return {-2, "hung: " + args.join(' ')};
    }
    return {child.exitStatus() == QProcess::NormalExit ? child.exitCode() : -3,
            QString::fromLocal8Bit(child.readAllStandardError())};
}

// Every file under a folder with its bytes, the way to see that nothing changed.
QMap<QString, QByteArray> snapshot(const QString& root) {
    QMap<QString, QByteArray> out;
    QDirIterator it(root, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        QFile file(path);
        if (path != root + "/fill" && file.open(QIODevice::ReadOnly))
            out.insert(path, file.readAll());
    }
    return out;
}

// A tmpfs of 256 KB, mounted for the test's life; only root can make one.
class SmallDisk {
  public:
    SmallDisk() {
#ifdef __linux__
        mounted = dir.isValid() && ::mount("tmpfs", QFile::encodeName(path()).constData(), "tmpfs", 0,
                                           "size=256k,mode=0755") == 0;
#endif
    }
    ~SmallDisk() {
#ifdef __linux__
        if (mounted)
            ::umount2(QFile::encodeName(path()).constData(), MNT_DETACH);
#endif
    }
    bool isMounted() const {
        return mounted;
    }
    QString path() const {
        return dir.path();
    }

    bool setReadOnly(bool on) {
#ifdef __linux__
        return ::mount(nullptr, QFile::encodeName(path()).constData(), nullptr,
                       MS_REMOUNT | (on ? MS_RDONLY : 0), "size=256k,mode=0755") == 0;
#else
        return on && false;
#endif
    }
    // Writes until the disk refuses another byte.
    bool fill() {
        QFile file(path() + "/fill");
        if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
            return false;
        const QByteArray block(4096, 'x');
        while (file.write(block) == block.size()) {
        }
        return file.write("x", 1) != 1;
    }
    void clear() {
        setReadOnly(false);
        for (const QString& entry :
             QDir(path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden))
            QFileInfo(path() + "/" + entry).isDir() ? (void)QDir(path() + "/" + entry).removeRecursively()
                                                    : (void)QFile::remove(path() + "/" + entry);
    }

  private:
    QTemporaryDir dir;
    bool mounted = false;
};

} // namespace

// Each command that writes a settings, store or preference file, on a disk that is full or
// read-only: the command exits 2, names the file it could not write, and every file it
// touched stays byte for byte as it was. A command that only reads still works.
TEST(SettingsWrites, FailedWritesExitTwoAndLeaveTheOldFiles) {
    SmallDisk disk;
    if (!disk.isMounted())
        GTEST_SKIP() << "cannot mount a small tmpfs here (needs root on Linux)";
    QTemporaryDir site;
    QFile page(site.path() + "/index.html");
    ASSERT_TRUE(page.open(QIODevice::WriteOnly));
    page.write("<html><body><a href=\"b.html\">b</a></body></html>");
    page.close();
    ASSERT_TRUE(QFile::copy(site.path() + "/index.html", site.path() + "/b.html"));
    const QString url = QUrl::fromLocalFile(site.path() + "/index.html").toString();

    const QString home = disk.path();
    const QString store = home + "/share/Trellium5";
    const QString siteFile = store + "/site";
    enum Condition { Full, ReadOnly };
    struct Case {
        const char* name;
        Condition condition;
        QStringList args;
        QString unwritten; // the path the message must name; empty: the command writes nothing
    };
    const QStringList run = {"run", home + "/scan.lcsettings"};
    const Case cases[] = {
        {"set, full", Full, {"sites", "set", "Site", "timeOut", "10"}, siteFile},
        {"rename, full", Full, {"sites", "rename", "Site", "Other"}, siteFile},
        {"set-url, full", Full, {"sites", "set-url", "Site", "http://elsewhere/"}, siteFile},
        {"add, full", Full, {"sites", "add", "http://new.example/"}, store + "/http---new-example-"},
        {"run, full", Full, run, siteFile},
        {"set, read-only", ReadOnly, {"sites", "set", "Site", "timeOut", "10"}, siteFile},
        {"rename, read-only", ReadOnly, {"sites", "rename", "Site", "Other"}, siteFile},
        {"set-url, read-only", ReadOnly, {"sites", "set-url", "Site", "http://elsewhere/"}, siteFile},
        {"add, read-only", ReadOnly, {"sites", "add", "http://new.example/"}, store + "/http---new-example-"},
        {"delete, read-only", ReadOnly, {"sites", "delete", "Site"}, siteFile},
        {"run, read-only", ReadOnly, run, siteFile},
        {"show, read-only", ReadOnly, {"sites", "show", "Site"}, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        disk.clear();
        ASSERT_TRUE(QDir().mkpath(store) && QDir().mkpath(home + "/config/Trellium"));
        const QVariantMap settings = {{"url", url}, {"name", "Site"}, {"timeOut", "5"}};
        ASSERT_TRUE(Plist::writeFile(siteFile, settings));
        ASSERT_TRUE(Plist::writeFile(home + "/scan.lcsettings", settings));
        QFile preferences(home + "/config/Trellium/Trellium5.conf");
        ASSERT_TRUE(preferences.open(QIODevice::WriteOnly));
        preferences.write("[General]\nnewUISelectedFilename=site\n");
        preferences.close();
        const QMap<QString, QByteArray> before = snapshot(home);

        ASSERT_TRUE(c.condition == Full ? disk.fill() : disk.setReadOnly(true));
        const Outcome outcome = runCli(home, c.args);
        EXPECT_EQ(outcome.exitCode, c.unwritten.isEmpty() ? 0 : 2) << outcome.err.toStdString();
        if (!c.unwritten.isEmpty()) {
            EXPECT_TRUE(outcome.err.contains("could not write " + c.unwritten, Qt::CaseInsensitive) ||
                        outcome.err.contains("could not delete " + c.unwritten, Qt::CaseInsensitive))
                << outcome.err.toStdString();
        }
        EXPECT_EQ(snapshot(home), before);
    }
    disk.clear();
}

// Settings files that are no regular file: named to `run`, they are refused at once with the
// reason; lying in the store, they are passed over and the list still comes.
TEST(SettingsWrites, FifosAndDevicesAreRefusedNotRead) {
    QTemporaryDir home;
    const QString store = home.path() + "/share/Trellium5";
    ASSERT_TRUE(QDir().mkpath(store));
    ASSERT_TRUE(Plist::writeFile(store + "/site", {{"url", "http://a.example/"}, {"name", "Site"}}));
    ASSERT_EQ(mkfifo(QFile::encodeName(store + "/fifo").constData(), 0600), 0);
    ASSERT_TRUE(QFile::link("/dev/zero", store + "/zero"));
    ASSERT_EQ(mkfifo(QFile::encodeName(home.path() + "/scan.lcsettings").constData(), 0600), 0);
    ASSERT_TRUE(QFile::link("/dev/zero", home.path() + "/zero.lcsettings"));

    struct Case {
        QStringList args;
        int exitCode;
        const char* said; // on standard error; nullptr: nothing
    };
    const Case cases[] = {
        {{"run", home.path() + "/scan.lcsettings"}, 2, "a FIFO"},
        {{"run", home.path() + "/zero.lcsettings"}, 2, "a device"},
        {{"sites"}, 0, nullptr},
        {{"sites", "show", "Site"}, 0, nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.args.join(' ').toStdString());
        const Outcome outcome = runCli(home.path(), c.args);
        EXPECT_EQ(outcome.exitCode, c.exitCode) << outcome.err.toStdString();
        if (c.said) {
            EXPECT_TRUE(outcome.err.contains(c.said)) << outcome.err.toStdString();
        } else {
            EXPECT_TRUE(outcome.err.isEmpty()) << outcome.err.toStdString();
        }
    }
}
