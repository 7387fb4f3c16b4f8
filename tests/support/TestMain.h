#pragma once

#include "tests/support/ScratchProfile.h"

#include <QApplication>
#include <QtTest>

/// The entry point of a test executable, in the place of QTEST_MAIN: the scratch account exists
/// before the application object, which looks for fonts, styles and caches in the home folder.
#define KAVO_TEST_MAIN(TestClass)                                                                  \
    int main(int argc, char **argv)                                                                \
    {                                                                                              \
        const Kavo::Testing::ScratchProfile profile;                                               \
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);                               \
        QApplication application(argc, argv);                                                      \
        TestClass test;                                                                            \
        return QTest::qExec(&test, argc, argv);                                                    \
    }
