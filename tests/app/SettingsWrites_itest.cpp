// What a person at the terminal sees when settings can't be written or a named file is no
// settings file: the built `trellium` runs as a child, with its home on a small filesystem
// that the test mounts, full or read-only.
#include "ChildRun.h"
#include "platform/Plist.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QTemporaryDir>
#include <QUrl>
#include <gtest/gtest.h>
#include <sys/stat.h>
#ifdef __linux__
#include <sys/mount.h>
#endif

namespace {

// Every file under a folder with its bytes, the way to see that nothing changed.
QMap<QString, QByteArray> snapshot(const QString& root) {
    QMap<QString, QByteArray> out;
    QDirIterator it(root, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        QFile file(it.next());
        if (file.fileName() != root + "/fill" && file.open(QIODevice::ReadOnly))
            out.insert(file.fileName(), file.readAll());
    }
    return out;
}

// A tmpfs of 256 KB, mounted for the object's life; only root can make one.
class SmallDisk {
  public:
    SmallDisk() { mounted = dir.isValid() && mount(false); }
    ~SmallDisk() {
#ifdef __linux__
        if (mounted)
            ::umount2(QFile::encodeName(path()).constData(), MNT_DETACH);
#endif
    }
    QString path() const {
        return dir.path();
    }
    bool mount(bool readOnly) {
#ifdef __linux__
        return ::mount("tmpfs", QFile::encodeName(path()).constData(), "tmpfs",
                       readOnly ? MS_REMOUNT | MS_RDONLY : 0, "size=256k,mode=0755") == 0;
#else
        return readOnly && false;
#endif
    }
    // Writes until the disk refuses another byte.
    bool fill() {
        QFile file(path() + "/fill");
        const QByteArray block(4096, 'x');
        if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
            return false;
        while (file.write(block) == block.size()) {
        }
        return file.write("x", 1) != 1;
    }

    bool mounted = false;

  private:
    QTemporaryDir dir;
};

} // namespace

// Each command that writes a settings, store or preference file, on a disk that is full or
// read-only: the command exits 2, names the file it could not write, and every file it
// touched stays byte for byte as it was. A command that only reads still works.
TEST(SettingsWrites, FailedWritesExitTwoAndLeaveTheOldFiles) {
    QTemporaryDir site;
    ASSERT_TRUE(writeBytes(site.path() + "/index.html", "<a href=index.html>again</a>"));
    const QString url = QUrl::fromLocalFile(site.path() + "/index.html").toString();

    struct Case {
        QStringList args;
        QString unwritten; // the file (under the store) the message must name; empty: nothing is written
        bool alsoFull;     // tried on a full disk as well as a read-only one
    };
    const Case cases[] = {
        {{"sites", "set", "Site", "timeOut", "10"}, "site", true},
        {{"sites", "rename", "Site", "Other"}, "site", true},
        {{"sites", "set-url", "Site", "http://elsewhere/"}, "site", true},
        {{"sites", "add", "http://new.example/"}, "http---new-example-", true},
        {{"run", "~/scan.lcsettings"}, "site", true},
        {{"sites", "delete", "Site"}, "site", false}, // deleting needs no room
        {{"sites", "show", "Site"}, {}, false},
    };
    for (const Case& c : cases) {
        for (const bool full : {false, true}) {
            if (full && !c.alsoFull)
                continue;
            SCOPED_TRACE((c.args.join(' ') + (full ? ", full" : ", read-only")).toStdString());
            SmallDisk disk;
            if (!disk.mounted)
                GTEST_SKIP() << "cannot mount a small tmpfs here (needs root on Linux)";
            const QString home = disk.path(), store = home + "/share/Trellium5";
            ASSERT_TRUE(QDir().mkpath(store) && QDir().mkpath(home + "/config/Trellium"));
            const QVariantMap settings = {{"url", url}, {"name", "Site"}, {"timeOut", "5"}};
            ASSERT_TRUE(Plist::writeFile(store + "/site", settings));
            ASSERT_TRUE(Plist::writeFile(home + "/scan.lcsettings", settings));
            ASSERT_TRUE(writeBytes(home + "/config/Trellium/Trellium5.conf",
                                   "[General]\nnewUISelectedFilename=site\n"));
            const QMap<QString, QByteArray> before = snapshot(home);

            ASSERT_TRUE(full ? disk.fill() : disk.mount(true));
            const ChildRun run = trellium(c.args, home);
            EXPECT_EQ(run.exitCode, c.unwritten.isEmpty() ? 0 : 2) << run.err;
            const QString path = store + "/" + c.unwritten;
            EXPECT_TRUE(c.unwritten.isEmpty() ||
                        run.err.contains("could not write " + path, Qt::CaseInsensitive) ||
                        run.err.contains("could not delete " + path, Qt::CaseInsensitive))
                << run.err;
            EXPECT_EQ(snapshot(home), before);
        }
    }
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
        const char* said; // on standard error; "": nothing
    };
    const Case cases[] = {
        {{"run", "~/scan.lcsettings"}, 2, "a FIFO"},
        {{"run", "~/zero.lcsettings"}, 2, "a device"},
        {{"sites"}, 0, ""},
        {{"sites", "show", "Site"}, 0, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.args.join(' ').toStdString());
        const ChildRun run = trellium(c.args, home.path());
        EXPECT_EQ(run.exitCode, c.exitCode) << run.err;
        EXPECT_TRUE(*c.said ? run.err.contains(c.said) : run.err.isEmpty()) << run.err;
    }
}
