#pragma once

#include "tests/support/ScratchProfile.h"

#include <QApplication>
#include <QtTest>

/// The main function of a test executable, instead of QTEST_MAIN. It creates a scratch profile
/// before the application object, because the latter looks for fonts, styles and caches in the home
/// folder.
#define KAVO_TEST_MAIN(TestClass)                                                                  \
    int main(int argc, char **argv)                                                                \
    {                                                                                              \
        const Kavo::Testing::ScratchProfile profile;                                               \
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);                               \
        QApplication application(argc, argv);                                                      \
        TestClass test;                                                                            \
        return QTest::qExec(&test, argc, argv);                                                    \
    }
