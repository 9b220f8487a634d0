<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>ApplicationInfo</name>
    <message>
        <location filename="../../app/applicationinfo.cpp" line="+69"/>
        <source>unknown</source>
        <translation>unbekannt</translation>
    </message>
    <message>
        <location line="+12"/>
        <source>Version %1</source>
        <translation>Version %1</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Built with Qt %1, running on Qt %2</source>
        <translation>Erstellt mit Qt %1, ausgeführt unter Qt %2</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Aravis %1</source>
        <translation>Aravis %1</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>OpenCV %1</source>
        <translation>OpenCV %1</translation>
    </message>
    <message>
        <location line="+6"/>
        <source>Licences of the parts shipped with this program:</source>
        <translation>Lizenzen der mit diesem Programm ausgelieferten Komponenten:</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Material Design Icons</source>
        <translation>Material Design Icons</translation>
    </message>
    <message>
        <location line="+22"/>
        <source>About %1</source>
        <translation>Über %1</translation>
    </message>
    <message>
        <location line="+1"/>
        <location line="+31"/>
        <source>About Qt</source>
        <translation>Über Qt</translation>
    </message>
</context>
<context>
    <name>ApplicationSettings</name>
    <message>
        <location filename="../../app/applicationsettings.cpp" line="+266"/>
        <location line="+189"/>
        <source>Dark</source>
        <translation>Dunkel</translation>
    </message>
    <message>
        <location line="-188"/>
        <location line="+189"/>
        <source>Light</source>
        <translation>Hell</translation>
    </message>
    <message>
        <location line="-170"/>
        <location line="+171"/>
        <source>No workspace</source>
        <translation>Kein Arbeitsbereich</translation>
    </message>
    <message>
        <location line="-16"/>
        <source>Application options</source>
        <translation>Anwendungseinstellungen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>General</source>
        <translation>Allgemein</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Image saving</source>
        <translation>Bildspeicherung</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Advanced</source>
        <translation>Erweitert</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Shortcuts</source>
        <translation>Tastenkürzel</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Start image acquisition when opening a camera</source>
        <translation>Bildaufnahme beim Öffnen einer Kamera starten</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Use preferred GigE transport layer only (kernel driver)</source>
        <translation>Nur den bevorzugten GigE-Transport-Layer verwenden (Kerneltreiber)</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Show connection lines between dialogs</source>
        <translation>Verbindungslinien zwischen Dialogen anzeigen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Show grid</source>
        <translation>Raster anzeigen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Dialog fading (ms)</source>
        <translation>Überblendung der Dialoge (ms)</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Language</source>
        <translation>Sprache</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Theme</source>
        <translation>Farbschema</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Default workspace</source>
        <translation>Standard-Arbeitsbereich</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Automatic image file names</source>
        <translation>Automatische Bilddateinamen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Automatic image saving</source>
        <translation>Automatische Bildspeicherung</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>File name</source>
        <translation>Dateiname</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Invalid filename</source>
        <translation>Ungültiger Dateiname</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Type</source>
        <translation>Typ</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Saving an image as BMP or JPG with more than 8 bits per channel is not supported.</source>
        <translation>Das Speichern eines Bildes als BMP oder JPG mit mehr als 8 Bit pro Kanal wird nicht unterstützt.</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Add image counter</source>
        <translation>Bildzähler hinzufügen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Reset counter</source>
        <translation>Zähler zurücksetzen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Add date</source>
        <translation>Datum hinzufügen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Add timestamp</source>
        <translation>Zeitstempel hinzufügen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Stop automatic saving after X images</source>
        <translation>Automatische Speicherung nach X Bildern beenden</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Camera list auto update</source>
        <translation>Automatische Aktualisierung der Kameraliste</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Camera parameter polling</source>
        <translation>Zyklische Abfrage der Kameraparameter</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Restore camera parameters on reconnect</source>
        <translation>Kameraparameter beim erneuten Verbinden wiederherstellen</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Workspace path</source>
        <translation>Pfad für Arbeitsbereiche</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Select workspace path</source>
        <translation>Pfad für Arbeitsbereiche auswählen</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>Path</source>
        <translation>Pfad</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Select path</source>
        <translation>Pfad auswählen</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>Video recording path</source>
        <translation>Pfad für Videoaufnahmen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Select video recording path</source>
        <translation>Pfad für Videoaufnahmen auswählen</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>Inference model path</source>
        <translation>Pfad für Inferenzmodelle</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Select inference model path</source>
        <translation>Pfad für Inferenzmodelle auswählen</translation>
    </message>
    <message>
        <location line="+14"/>
        <source>CTRL+ALT+C</source>
        <translation>CTRL+ALT+C</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Reset counters in camera window and performance monitor</source>
        <translation>Zähler im Kamerafenster und im Leistungsmonitor zurücksetzen</translation>
    </message>
    <message>
        <location line="+109"/>
        <source>Function deprecated</source>
        <translation>Funktion veraltet</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Loading an .ias file is deprecated.</source>
        <translation>Das Laden einer .ias-Datei ist veraltet.</translation>
    </message>
</context>
<context>
    <name>CameraListDeviceItem</name>
    <message>
        <location filename="../../discovery/cameralistitem.cpp" line="+389"/>
        <source>(reading failed)</source>
        <translation>(Lesen fehlgeschlagen)</translation>
    </message>
    <message>
        <location line="+94"/>
        <source>Model</source>
        <translation>Modell</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Serial number</source>
        <translation>Seriennummer</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>User-defined name</source>
        <translation>Benutzerdefinierter Name</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Producer name</source>
        <translation>Producer-Name</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Access status</source>
        <translation>Zugriffsstatus</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>ID</source>
        <translation>ID</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>IP</source>
        <translation>IP</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Subnet</source>
        <translation>Subnetz</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>MAC</source>
        <translation>MAC</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Device</source>
        <translation>Gerät</translation>
    </message>
</context>
<context>
    <name>CameraListGroupItem</name>
    <message>
        <location line="-352"/>
        <source>Producer group</source>
        <translation>Producer-Gruppe</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>TL type</source>
        <translation>TL-Typ</translation>
    </message>
</context>
<context>
    <name>CameraListInterfaceItem</name>
    <message>
        <location line="+174"/>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>TL Type</source>
        <translation>TL-Typ</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Interface ID</source>
        <translation>Schnittstellen-ID</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>IP address</source>
        <translation>IP-Adresse</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Subnet mask</source>
        <translation>Subnetzmaske</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Interface</source>
        <translation>Schnittstelle</translation>
    </message>
</context>
<context>
    <name>CameraListSystemItem</name>
    <message>
        <location line="-72"/>
        <source>Transport layer</source>
        <translation>Transport-Layer</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Vendor name</source>
        <translation>Herstellername</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>TL Type</source>
        <translation>TL-Typ</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>CTI full path</source>
        <translation>Vollständiger CTI-Pfad</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>GenTL version</source>
        <translation>GenTL-Version</translation>
    </message>
</context>
<context>
    <name>ColorQuestionDialog</name>
    <message>
        <location filename="../../widgets/colorquestiondialog.cpp" line="+27"/>
        <source>Yes</source>
        <translation>Ja</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>No</source>
        <translation>Nein</translation>
    </message>
</context>
<context>
    <name>ControlElement</name>
    <message>
        <location filename="../../controlelement/controlelement.cpp" line="+553"/>
        <source>Restore</source>
        <translation>Wiederherstellen</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Maximize</source>
        <translation>Maximieren</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>OK</source>
        <translation>OK</translation>
    </message>
</context>
<context>
    <name>FileSelectorControl</name>
    <message>
        <location filename="../../widgets/fileselectorcontrol.cpp" line="+16"/>
        <source>Browse</source>
        <translation>Durchsuchen</translation>
    </message>
    <message>
        <location line="+54"/>
        <source>Select file</source>
        <translation>Datei auswählen</translation>
    </message>
</context>
<context>
    <name>InfoDialog</name>
    <message>
        <location filename="../../widgets/infodialog.cpp" line="+24"/>
        <source>OK</source>
        <translation>OK</translation>
    </message>
</context>
<context>
    <name>LoggerWindow</name>
    <message>
        <location filename="../../app/loggerwindow.cpp" line="+29"/>
        <source>%1 error | </source>
        <translation>%1-Fehler | </translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Remote device event | </source>
        <translation>Ereignis des Remote-Geräts | </translation>
    </message>
    <message>
        <location line="+42"/>
        <location line="+244"/>
        <source>Logger</source>
        <translation>Protokoll</translation>
    </message>
    <message>
        <location line="-53"/>
        <source>No messages</source>
        <translation>Keine Meldungen</translation>
    </message>
    <message>
        <location line="+16"/>
        <location line="+42"/>
        <source>Save log</source>
        <translation>Protokoll speichern</translation>
    </message>
    <message>
        <location line="-42"/>
        <source>Text (*.txt)</source>
        <translation>Text (*.txt)</translation>
    </message>
    <message>
        <location line="+38"/>
        <source>Show messages</source>
        <translation>Meldungen anzeigen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Show remote device events</source>
        <translation>Ereignisse des Remote-Geräts anzeigen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Auto scroll</source>
        <translation>Automatisch scrollen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Clear all</source>
        <translation>Alle löschen</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <location filename="../../app/mainwindow.cpp" line="+140"/>
        <source>IFL initialization failed: %1.</source>
        <translation>Initialisierung der IFL fehlgeschlagen: %1.</translation>
    </message>
    <message>
        <source>Toggle theme</source>
        <translation type="vanished">Farbschema wechseln</translation>
    </message>
    <message>
        <location line="+290"/>
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
        <location line="+11"/>
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
        <location line="+32"/>
        <source>Warning</source>
        <translation>Warnung</translation>
    </message>
    <message>
        <location line="+441"/>
        <source>Cannot open camera</source>
        <translation>Kamera kann nicht geöffnet werden</translation>
    </message>
    <message>
        <location line="+14"/>
        <source>Camera removed</source>
        <translation>Kamera entfernt</translation>
    </message>
    <message>
        <location line="+44"/>
        <source>Workspace</source>
        <translation>Arbeitsbereich</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Close all cameras and clear workspace</source>
        <translation>Alle Kameras schließen und Arbeitsbereich leeren</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Open bandwidth management</source>
        <translation>Bandbreitenverwaltung öffnen</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Select current workspace</source>
        <translation>Aktuellen Arbeitsbereich auswählen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Enter workspace name and press ENTER to save</source>
        <translation>Namen des Arbeitsbereichs eingeben und zum Speichern ENTER drücken</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Create workspace</source>
        <translation>Arbeitsbereich erstellen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Delete workspace</source>
        <translation>Arbeitsbereich löschen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Fullsceen mode. Press ESC to exit.</source>
        <translation>Vollbildmodus. Zum Beenden ESC drücken.</translation>
    </message>
    <message>
        <location line="+10"/>
        <source>No workspace</source>
        <translation>Kein Arbeitsbereich</translation>
    </message>
    <message>
        <location filename="../../app/desklogic.cpp" line="+115"/>
        <source>Automatic camera parameter polling and camera list update disabled!</source>
        <translation>Zyklische Abfrage der Kameraparameter und automatische Aktualisierung der Kameraliste deaktiviert!</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Automatic camera parameter polling disabled!</source>
        <translation>Zyklische Abfrage der Kameraparameter deaktiviert!</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Automatic camera list update disabled!</source>
        <translation>Automatische Aktualisierung der Kameraliste deaktiviert!</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Automatic image saving enabled!</source>
        <translation>Automatische Bildspeicherung aktiviert!</translation>
    </message>
    <message>
        <location line="+26"/>
        <source>The camera with the serial number %1 is not running with USB3 speed.</source>
        <translation>Die Kamera mit der Seriennummer %1 läuft nicht mit USB3-Geschwindigkeit.</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>The camera is not running with USB3 speed.</source>
        <translation>Die Kamera läuft nicht mit USB3-Geschwindigkeit.</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Check the connection and use an appropriate cable.</source>
        <translation>Überprüfen Sie die Verbindung und verwenden Sie ein geeignetes Kabel.</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>The camera with the serial number %1 is not running with 10 Gigabit Ethernet speed.</source>
        <translation>Die Kamera mit der Seriennummer %1 läuft nicht mit 10-Gigabit-Ethernet-Geschwindigkeit.</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>The camera is not running with 10 Gigabit Ethernet speed.</source>
        <translation>Die Kamera läuft nicht mit 10-Gigabit-Ethernet-Geschwindigkeit.</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Check all components of the connection (router, switch ...) and use an appropriate cable.</source>
        <translation>Überprüfen Sie alle Komponenten der Verbindung (Router, Switch ...) und verwenden Sie ein geeignetes Kabel.</translation>
    </message>
    <message>
        <location line="+51"/>
        <source>https://www.kvx-imaging.example/downloads</source>
        <translation>https://www.kvx-imaging.example/downloads</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>https://www.kvx-imaging.example/support</source>
        <translation>https://www.kvx-imaging.example/support</translation>
    </message>
    <message>
        <location line="+16"/>
        <source>CTRL+I</source>
        <translation>CTRL+I</translation>
    </message>
    <message>
        <location line="+0"/>
        <location filename="../../app/mainwindow.cpp" line="-11"/>
        <source>About %1</source>
        <translation>Über %1</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>CTRL+O</source>
        <translation>CTRL+O</translation>
    </message>
    <message>
        <location line="+0"/>
        <location filename="../../app/mainwindow.cpp" line="-5"/>
        <source>Application options</source>
        <translation>Anwendungseinstellungen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>CTRL+L</source>
        <translation>CTRL+L</translation>
    </message>
    <message>
        <location line="+0"/>
        <location filename="../../app/mainwindow.cpp" line="-1"/>
        <source>Open logger</source>
        <translation>Protokoll öffnen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>CTRL+M</source>
        <translation>CTRL+M</translation>
    </message>
    <message>
        <location line="+0"/>
        <location filename="../../app/mainwindow.cpp" line="-3"/>
        <source>Open camera manager</source>
        <translation>Kameraverwaltung öffnen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>CTRL+N</source>
        <translation>CTRL+N</translation>
    </message>
    <message>
        <location line="+0"/>
        <location filename="../../app/mainwindow.cpp" line="-1"/>
        <source>Open first available camera</source>
        <translation>Erste verfügbare Kamera öffnen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>CTRL+ALT+G</source>
        <translation>CTRL+ALT+G</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Show grid</source>
        <translation>Raster anzeigen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>CTRL+ALT+T</source>
        <translation>CTRL+ALT+T</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Switch theme</source>
        <translation>Farbschema wechseln</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>CTRL+ALT+L</source>
        <translation>CTRL+ALT+L</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Switch between last selected language and default language</source>
        <translation>Zwischen zuletzt gewählter Sprache und Standardsprache wechseln</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>CTRL+ALT+F</source>
        <translation>CTRL+ALT+F</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Switch between windowed mode and full screen mode</source>
        <translation>Zwischen Fenstermodus und Vollbildmodus wechseln</translation>
    </message>
</context>
<context>
    <name>NodeMapModel</name>
    <message>
        <location filename="../../nodetree/nodemapmodel.cpp" line="+32"/>
        <source>Beginner</source>
        <translation>Einsteiger</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Expert</source>
        <translation>Experte</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Guru</source>
        <translation>Guru</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>All (invisible, not implemented)</source>
        <translation>Alle (unsichtbar, nicht implementiert)</translation>
    </message>
    <message>
        <location line="+181"/>
        <source>Execute</source>
        <translation>Ausführen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>n.a.</source>
        <translation>n. v.</translation>
    </message>
    <message>
        <location line="+7"/>
        <source>True</source>
        <translation>Wahr</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>False</source>
        <translation>Falsch</translation>
    </message>
    <message>
        <location line="+121"/>
        <source>Parameter</source>
        <translation>Parameter</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Value</source>
        <translation>Wert</translation>
    </message>
</context>
<context>
    <name>QuestionDialog</name>
    <message>
        <location filename="../../widgets/questiondialog.cpp" line="+22"/>
        <source>Yes</source>
        <translation>Ja</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>No</source>
        <translation>Nein</translation>
    </message>
</context>
<context>
    <name>desk</name>
    <message>
        <location filename="../../app/desklogic.cpp" line="-67"/>
        <source>The camera has reported the following boot status:</source>
        <translation>Die Kamera hat den folgenden Boot-Status gemeldet:</translation>
    </message>
    <message>
        <location line="+6"/>
        <source>This message should disappear after the next camera reboot (power off).</source>
        <translation>Diese Meldung sollte nach dem nächsten Neustart der Kamera (Aus- und Einschalten) verschwinden.</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>If the problem persists, try the following steps:</source>
        <translation>Falls das Problem weiterhin besteht, versuchen Sie die folgenden Schritte:</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>Download the latest firmware from our website and update the camera:</source>
        <translation>Laden Sie die neueste Firmware von unserer Website herunter und aktualisieren Sie die Kamera:</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Test the camera connection by using a certified %1 cable.</source>
        <translation>Testen Sie die Kameraverbindung mit einem zertifizierten %1-Kabel.</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Contact our support team:</source>
        <translation>Wenden Sie sich an unser Support-Team:</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Download the latest firmware and update the camera.</source>
        <translation>Laden Sie die neueste Firmware herunter und aktualisieren Sie die Kamera.</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Test the camera connection by using a certified cable.</source>
        <translation>Testen Sie die Kameraverbindung mit einem zertifizierten Kabel.</translation>
    </message>
</context>
</TS>
