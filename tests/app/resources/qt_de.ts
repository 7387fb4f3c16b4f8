<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de">
<context>
    <name>QMessageBox</name>
    <message>
        <source>Invalid Folder</source>
        <translation>Ungültiger Ordner</translation>
    </message>
</context>
<context>
    <name>QPlatformTheme</name>
    <message>
        <source>&amp;No</source>
        <translation>&amp;Nein danke</translation>
    </message>
</context>
</TS>
