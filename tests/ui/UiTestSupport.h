#pragma once

#include "keyboard/KeyRemapper.h"
#include "platform/fake/FakeHotKeyService.h"
#include "platform/fake/FakeProcessRunner.h"
#include "platform/fake/FakeScreenEnvironment.h"

#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

// The remapper with its fakes, and a folder for the files the windows keep.
struct KeyboardFakes {
    QTemporaryDir dir;
    FakeProcessRunner processes;
    FakeHotKeyService hotKeys;
    FakeScreenEnvironment screens;
    KeyRemapper remapper{processes, hotKeys, "/opt/vistrel/vistrel-keymap"};

    // What the keymap tool was last told to apply.
    QString lastProperty() const { return processes.runs().last().arguments.last(); }
};
