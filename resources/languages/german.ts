<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>InfoDialog</name>
    <message>
        <location filename="../../widgets/infodialog.cpp" line="+23"/>
        <source>OK</source>
        <translation>OK</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <location filename="../../app/mainwindow.cpp" line="+100"/>
        <source>IFL initialization failed: %1.</source>
        <translation>Initialisierung der IFL fehlgeschlagen: %1.</translation>
    </message>
    <message>
        <location line="+60"/>
        <source>Toggle theme</source>
        <translation>Farbschema wechseln</translation>
    </message>
    <message>
        <location line="+69"/>
        <source>Failed to initialize %1: </source>
        <translation>Initialisierung von %1 fehlgeschlagen: </translation>
    </message>
    <message>
        <location line="+8"/>
        <source>Failed to initialize auto feature lib: </source>
        <translation>Initialisierung der Auto-Feature-Bibliothek fehlgeschlagen: </translation>
    </message>
    <message>
        <location line="+13"/>
        <source>Failed to exit auto feature lib: </source>
        <translation>Beenden der Auto-Feature-Bibliothek fehlgeschlagen: </translation>
    </message>
    <message>
        <location line="+10"/>
        <source>Failed to exit %1: </source>
        <translation>Beenden von %1 fehlgeschlagen: </translation>
    </message>
    <message>
        <location line="+10"/>
        <location line="+13"/>
        <source>The minimum required version of %1 is %2.%3.%4.</source>
        <translation>Die erforderliche Mindestversion von %1 ist %2.%3.%4.</translation>
    </message>
    <message>
        <location line="-8"/>
        <source>You are using version %1.</source>
        <translation>Sie verwenden Version %1.</translation>
    </message>
    <message>
        <location line="+1"/>
        <location line="+12"/>
        <source>Some features may not work correctly or are not available.</source>
        <translation>Einige Funktionen arbeiten möglicherweise nicht korrekt oder sind nicht verfügbar.</translation>
    </message>
    <message>
        <location line="-11"/>
        <location line="+12"/>
        <source>Install the current %1 version.</source>
        <translation>Installieren Sie die aktuelle Version von %1.</translation>
    </message>
    <message>
        <location line="-7"/>
        <source>The installed %1 version cannot be detected. </source>
        <translation>Die installierte Version von %1 kann nicht ermittelt werden. </translation>
    </message>
    <message>
        <location line="+34"/>
        <source>Warning</source>
        <translation>Warnung</translation>
    </message>
</context>
</TS>
