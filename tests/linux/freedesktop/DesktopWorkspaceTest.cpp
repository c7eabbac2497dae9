#include "linux/freedesktop/DesktopWorkspace.h"
#include "support/PrivateBus.h"
#include "support/TestFolder.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDBusConnection>
#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLabel>
#include <QPushButton>
#include <QTest>

namespace kasto::test {

// A file browser on the bus that remembers what it was asked to show.
class FileBrowser : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    QStringList shown;

public slots:
    Q_SCRIPTABLE void ShowItems(const QStringList& uris, const QString& /*startupId*/) { shown += uris; }
};

// Takes the place of the desktop's opener for files.
class Opener : public QObject {
    Q_OBJECT
public:
    Opener() { QDesktopServices::setUrlHandler("file", this, "open"); }
    ~Opener() override { QDesktopServices::unsetUrlHandler("file"); }
    QList<QUrl> opened;
public slots:
    void open(const QUrl& url) { opened.append(url); }
};

}  // namespace kasto::test

namespace kasto {
namespace {

using test::FileBrowser;
using test::Opener;

// The application and its bus, once for all tests of this program.
struct Session {
    Session() {
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
        bus.emplace();
        application.emplace(argc, argv);
    }
    int argc = 1;
    char name[5] = "test";
    char* argv[2] = {name, nullptr};
    std::optional<test::PrivateBus> bus;
    std::optional<QApplication> application;
};

class DesktopWorkspaceTest : public testing::Test {
protected:
    static void SetUpTestSuite() { session = new Session; }
    static void TearDownTestSuite() { delete session; }

    static QFileDialog* chooser() {
        for (auto* widget : QApplication::topLevelWidgets())
            if (auto* dialog = qobject_cast<QFileDialog*>(widget); dialog && dialog->isVisible())
                return dialog;
        return nullptr;
    }

    static inline Session* session = nullptr;
    DesktopWorkspace workspace;
    test::TestFolder folder;
};

TEST_F(DesktopWorkspaceTest, RevealsInTheFileBrowser) {
    // A browser of another connection, as a real one is.
    auto bus = QDBusConnection::connectToBus(QString::fromStdString(session->bus->address()), "browser");
    FileBrowser browser;
    ASSERT_TRUE(bus.registerObject("/org/freedesktop/FileManager1", &browser,
                                   QDBusConnection::ExportScriptableSlots));
    ASSERT_TRUE(bus.registerService("org.freedesktop.FileManager1"));
    Opener opener;
    workspace.reveal(folder / "a take #1.mov");
    EXPECT_TRUE(QTest::qWaitFor([&] { return !browser.shown.isEmpty(); }));
    const auto expected = "file://" + QString::fromStdString(folder.path().string()) + "/a%20take%20%231.mov";
    EXPECT_EQ(browser.shown, QStringList{expected});
    bus.unregisterService("org.freedesktop.FileManager1");
    QDBusConnection::disconnectFromBus("browser");
    EXPECT_TRUE(opener.opened.isEmpty());
}

TEST_F(DesktopWorkspaceTest, OpensTheFolderWithoutAFileBrowserOnTheBus) {
    Opener opener;
    workspace.reveal(folder / "take.mov");
    EXPECT_TRUE(QTest::qWaitFor([&] { return !opener.opened.isEmpty(); }));
    ASSERT_EQ(opener.opened.size(), 1);
    EXPECT_EQ(opener.opened[0].toLocalFile().toStdString(), folder.path().string());
}

TEST_F(DesktopWorkspaceTest, AsksForAFolder) {
    std::filesystem::create_directory(folder / "clips");
    std::vector<std::optional<std::filesystem::path>> answers;
    const FolderQuestion question{folder.path(), "use folder", "finished takes land here"};
    const auto ask = [&] {
        workspace.chooseFolder(question, [&](auto answer) { answers.push_back(answer); });
    };

    ask();
    auto* dialog = chooser();
    ASSERT_TRUE(dialog);
    EXPECT_EQ(dialog->directory().absolutePath().toStdString(), folder.path().string());
    EXPECT_EQ(dialog->labelText(QFileDialog::Accept), "use folder");
    EXPECT_EQ(dialog->findChild<QLabel*>("message")->text(), "finished takes land here");
    ask();  // while it is open
    dialog->selectFile("clips");
    QTest::mouseClick(dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Open), Qt::LeftButton);
    ASSERT_EQ(answers.size(), 1u);
    EXPECT_EQ(answers[0], folder / "clips");

    EXPECT_TRUE(QTest::qWaitFor([] { return chooser() == nullptr; }));
    ask();
    ASSERT_TRUE(chooser());
    QTest::keyClick(chooser(), Qt::Key_Escape);
    ASSERT_EQ(answers.size(), 2u);
    EXPECT_EQ(answers[1], std::nullopt);
}

}  // namespace
}  // namespace kasto

#include "DesktopWorkspaceTest.moc"
