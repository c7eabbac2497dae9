#include "linux/freedesktop/BusApplication.h"
#include "linux/freedesktop/DesktopWorkspace.h"
#include "support/LogLines.h"
#include "support/TestFolder.h"

#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLabel>
#include <QPushButton>

namespace kasto::test {

using namespace freedesktop;

// Remembers what it was asked to show, as a file browser on the bus and as the desktop's opener for files.
class FileBrowser : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    FileBrowser() { QDesktopServices::setUrlHandler("file", this, "open"); }
    ~FileBrowser() override { QDesktopServices::unsetUrlHandler("file"); }
    QStringList shown;
    QStringList opened;

public slots:
    Q_SCRIPTABLE void ShowItems(const QStringList& uris, const QString& /*startupId*/) { shown += uris; }
    void open(const QUrl& url) { opened += url.toString(QUrl::FullyEncoded); }
};

namespace {

class DesktopWorkspaceTest : public testing::Test {
protected:
    static QFileDialog* chooser() {
        for (auto* widget : QApplication::topLevelWidgets())
            if (auto* dialog = qobject_cast<QFileDialog*>(widget); dialog && dialog->isVisible())
                return dialog;
        return nullptr;
    }

    std::vector<QWidget*> prepared;
    DesktopWorkspace workspace{[this](QWidget& window) { prepared.push_back(&window); }};
    TestFolder folder;
};

TEST_F(DesktopWorkspaceTest, RevealsInTheFileBrowserElseOpensTheFolder) {
    FileBrowser browser;
    const auto url = "file://" + QString::fromStdString(folder.path().string());
    workspace.reveal(folder / "take.mov");
    EXPECT_TRUE(QTest::qWaitFor([&] { return !browser.opened.isEmpty(); }));
    EXPECT_EQ(browser.opened, QStringList{url});

    // A browser of another connection, as a real one is.
    auto bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "browser");
    ASSERT_TRUE(bus.registerObject("/org/freedesktop/FileManager1", &browser,
                                   QDBusConnection::ExportScriptableSlots));
    ASSERT_TRUE(bus.registerService("org.freedesktop.FileManager1"));
    workspace.reveal(folder / "a take #1.mov");
    EXPECT_TRUE(QTest::qWaitFor([&] { return !browser.shown.isEmpty(); }));
    EXPECT_EQ(browser.shown, QStringList{url + "/a%20take%20%231.mov"});
    QDBusConnection::disconnectFromBus("browser");
    EXPECT_EQ(browser.opened.size(), 1);
}

TEST_F(DesktopWorkspaceTest, LogsOneLineWhereNothingOpensFolders) {
    const LogLines log;
    testing::internal::CaptureStderr();
    workspace.openFolder(folder.path());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(log.all(), std::vector<std::string>{"kasto: nothing opens file://" + folder.path().string()});
}

TEST_F(DesktopWorkspaceTest, AsksForAFolder) {
    std::filesystem::create_directory(folder / "clips");
    std::vector<std::optional<std::filesystem::path>> answers;
    const auto ask = [&] {
        workspace.chooseFolder({folder.path(), "use folder", "finished takes land here"},
                               [&](auto answer) { answers.push_back(answer); });
    };
    ask();
    auto* dialog = chooser();
    ASSERT_TRUE(dialog);
    EXPECT_EQ(prepared, std::vector<QWidget*>{dialog});
    EXPECT_EQ(dialog->directory().absolutePath().toStdString(), folder.path().string());
    EXPECT_EQ(dialog->labelText(QFileDialog::Accept), "use folder");
    EXPECT_EQ(dialog->findChild<QLabel*>("message")->text(), "finished takes land here");
    ask();  // while it is open
    dialog->selectFile("clips");
    QTest::mouseClick(dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Open), Qt::LeftButton);
    EXPECT_TRUE(QTest::qWaitFor([] { return chooser() == nullptr; }));
    ask();
    ASSERT_TRUE(chooser());
    QTest::keyClick(chooser(), Qt::Key_Escape);
    EXPECT_EQ(answers, (decltype(answers){folder / "clips", std::nullopt}));
}

}  // namespace
}  // namespace kasto::test

#include "DesktopWorkspaceTest.moc"
