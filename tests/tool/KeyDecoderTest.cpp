// SPDX-License-Identifier: MIT
#include "KeyDecoder.h"

#include <QtTest>

class KeyDecoderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sequenceIsDecodedToItsKey_data();
    void sequenceIsDecodedToItsKey();
    void sequenceInPiecesIsDecodedWhenComplete();
    void sequencesTogetherAreDecodedInOrder();
    void unknownSequenceIsPassedOver_data();
    void unknownSequenceIsPassedOver();
};

namespace {

QVector<Key> keysOf(const QByteArray& bytes)
{
    return KeyDecoder().take(bytes);
}

} // namespace

void KeyDecoderTest::sequenceIsDecodedToItsKey_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("key");
    const auto add = [](Key key, const QVector<const char*>& sequences) {
        for (const char* sequence : sequences)
            QTest::addRow("%s", QByteArray(sequence).toHex().constData()) << QByteArray(sequence) << int(key);
    };
    add(Key::Quit, {"q"});
    add(Key::Up, {"k", "\x1b[A", "\x1bOA"});
    add(Key::Down, {"j", "\x1b[B", "\x1bOB"});
    add(Key::PageUp, {"\x1b[5~"});
    add(Key::PageDown, {"\x1b[6~"});
    add(Key::Home, {"\x1b[H", "\x1bOH", "\x1b[1~", "\x1b[7~"});
    add(Key::End, {"\x1b[F", "\x1bOF", "\x1b[4~", "\x1b[8~"});
}

void KeyDecoderTest::sequenceIsDecodedToItsKey()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, key);
    QVERIFY(keysOf(bytes) == QVector<Key>({Key(key)}));
}

void KeyDecoderTest::sequenceInPiecesIsDecodedWhenComplete()
{
    KeyDecoder keys;
    QVERIFY(keys.take("\x1b").isEmpty());
    QVERIFY(keys.take("[").isEmpty());
    QVERIFY(keys.take("6").isEmpty());
    QVERIFY(keys.take("~") == QVector<Key>({Key::PageDown}));
}

void KeyDecoderTest::sequencesTogetherAreDecodedInOrder()
{
    QVERIFY(keysOf("j\x1b[A\x1b[6~q") == QVector<Key>({Key::Down, Key::Up, Key::PageDown, Key::Quit}));
}

void KeyDecoderTest::unknownSequenceIsPassedOver_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("letters") << QByteArray("xyz");
    QTest::newRow("another character set") << QByteArray("ü台");
    QTest::newRow("Escape") << QByteArray("\x1b");
    QTest::newRow("Escape twice") << QByteArray("\x1b\x1b");
    QTest::newRow("Ctrl-Right") << QByteArray("\x1b[1;5C");
    QTest::newRow("Insert") << QByteArray("\x1b[2~");
    QTest::newRow("F1") << QByteArray("\x1bOP");
    QTest::newRow("a sequence cut short by another") << QByteArray("\x1b[1\x1b[2~");
}

void KeyDecoderTest::unknownSequenceIsPassedOver()
{
    QFETCH(QByteArray, bytes);
    QVERIFY(keysOf(bytes).isEmpty());
    QVERIFY(keysOf(bytes + 'q') == QVector<Key>({Key::Quit}));
}

QTEST_GUILESS_MAIN(KeyDecoderTest)
#include "KeyDecoderTest.moc"
