#pragma once

/// The characters of the icon font that the program draws.
namespace Kavo::Components::Glyph {

constexpr int Search = 0xf002;
constexpr int Check = 0xf00c;
constexpr int Cross = 0xf00d;
constexpr int Gear = 0xf013;
constexpr int Refresh = 0xf021;
constexpr int Book = 0xf02d;
constexpr int ChevronLeft = 0xf053;
constexpr int ChevronRight = 0xf054;
constexpr int QuestionMark = 0xf059;
constexpr int Information = 0xf05a;
constexpr int ArrowLeft = 0xf060;
constexpr int Warning = 0xf071;
constexpr int Plane = 0xf072;
constexpr int OpenFolder = 0xf07c;
constexpr int Undo = 0xf0e2;
constexpr int Download = 0xf0ed;
constexpr int Bin = 0xf1f8;
constexpr int Hourglass = 0xf254;
constexpr int MaximizeWindow = 0xf2d0;
constexpr int MinimizeWindow = 0xf2d1;
constexpr int RestoreWindow = 0xf2d2;

} // namespace Kavo::Components::Glyph
