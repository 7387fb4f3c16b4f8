<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>Kavo::Components::Carousel</name>
    <message>
        <source>Previous picture</source>
        <translation>Vorheriges Bild</translation>
    </message>
    <message>
        <source>Next picture</source>
        <translation>Nächstes Bild</translation>
    </message>
    <message>
        <source>Picture %1 of %2</source>
        <translation>Bild %1 von %2</translation>
    </message>
</context>
<context>
    <name>Kavo::Components::FileSelector</name>
    <message>
        <source>Browse</source>
        <translation>Durchsuchen</translation>
    </message>
    <message>
        <source>Path</source>
        <translation>Pfad</translation>
    </message>
</context>
<context>
    <name>Kavo::Components::WindowControl</name>
    <message>
        <source>Minimize</source>
        <translation>Minimieren</translation>
    </message>
    <message>
        <source>Maximize</source>
        <translation>Maximieren</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <source>Restore</source>
        <translation>Wiederherstellen</translation>
    </message>
</context>
<context>
    <name>Kavo::Dialogs::DiskSettingsWidget</name>
    <message>
        <source>Cache</source>
        <translation>Zwischenspeicher</translation>
    </message>
    <message>
        <source>Backup</source>
        <translation>Sicherung</translation>
    </message>
    <message>
        <source>Preserve</source>
        <translation>Bewahrte Dateien</translation>
    </message>
</context>
<context>
    <name>Kavo::Dialogs::GeneralSettingsWidget</name>
    <message>
        <source>Language : </source>
        <translation>Sprache: </translation>
    </message>
    <message>
        <source>English</source>
        <translation>Englisch</translation>
    </message>
    <message>
        <source>German</source>
        <translation>Deutsch</translation>
    </message>
</context>
<context>
    <name>Kavo::Dialogs::PathSettingsWidget</name>
    <message>
        <source>X-Plane</source>
        <translation>X-Plane</translation>
    </message>
    <message>
        <source>Cache</source>
        <translation>Zwischenspeicher</translation>
    </message>
    <message>
        <source>Preserve</source>
        <translation>Bewahrte Dateien</translation>
    </message>
    <message>
        <source>Backup</source>
        <translation>Sicherung</translation>
    </message>
    <message>
        <source>Invalid Folder</source>
        <translation>Ungültiger Ordner</translation>
    </message>
    <message>
        <source>Oops...this doesn&apos;t seem to be a XPlane installation folder.</source>
        <translation>Hoppla, das scheint kein Installationsordner von X-Plane zu sein.</translation>
    </message>
    <message>
        <source>This folder is that of &quot;%1&quot;, lies in it or holds it.

Choose one that is apart from the others.</source>
        <translation>Dieser Ordner ist der von „%1“, liegt darin oder enthält ihn.

Bitte einen Ordner wählen, der von den anderen getrennt ist.</translation>
    </message>
</context>
<context>
    <name>Kavo::Dialogs::SettingsDialog</name>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>General</source>
        <translation>Allgemein</translation>
    </message>
    <message>
        <source>Paths</source>
        <translation>Ordner</translation>
    </message>
    <message>
        <source>Disk Usage</source>
        <translation>Speicherplatz</translation>
    </message>
    <message>
        <source>Ok</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>X-Plane path has been changed

Proceeding will reset cache &amp; databases. Continue ?</source>
        <translation>Der X-Plane-Ordner wurde geändert.

Dadurch werden Zwischenspeicher und Datenbanken zurückgesetzt. Fortfahren?</translation>
    </message>
    <message>
        <source>Language has been changed

Application restart neeeded. Continue ?</source>
        <translation>Die Sprache wurde geändert.

Die Anwendung muss neu gestartet werden. Fortfahren?</translation>
    </message>
    <message>
        <source>Application will now close. Restart the application for new setting to take effect.</source>
        <translation>Die Anwendung wird jetzt geschlossen. Nach einem Neustart gelten die neuen Einstellungen.</translation>
    </message>
</context>
<context>
    <name>Kavo::Models::Download</name>
    <message>
        <source>Server Error</source>
        <translation>Serverfehler</translation>
    </message>
</context>
<context>
    <name>Kavo::Models::FailureReason</name>
    <message>
        <source>There is no simulator in this folder: %1</source>
        <translation>In diesem Ordner ist kein Simulator: %1</translation>
    </message>
    <message>
        <source>The package wants to be unpacked outside of the simulator: %1</source>
        <translation>Das Paket will außerhalb des Simulators entpackt werden: %1</translation>
    </message>
    <message>
        <source>The downloaded archive is missing or no file: %1</source>
        <translation>Das heruntergeladene Archiv fehlt oder ist keine Datei: %1</translation>
    </message>
    <message>
        <source>The downloaded archive is damaged, incomplete or no archive at all.</source>
        <translation>Das heruntergeladene Archiv ist beschädigt, unvollständig oder gar kein Archiv.</translation>
    </message>
    <message>
        <source>The downloaded archive asks for a password.</source>
        <translation>Das heruntergeladene Archiv verlangt ein Passwort.</translation>
    </message>
    <message>
        <source>7-Zip, which unpacks the archives, could not be run.</source>
        <translation>7-Zip, das die Archive entpackt, konnte nicht ausgeführt werden.</translation>
    </message>
    <message>
        <source>The archive leads out of the folder that it is unpacked into: %1</source>
        <translation>Das Archiv führt aus dem Ordner hinaus, in den es entpackt wird: %1</translation>
    </message>
    <message>
        <source>There is too little room on the disk: %1 are needed, %2 are free.</source>
        <translation>Auf dem Datenträger ist zu wenig Platz: %1 werden gebraucht, %2 sind frei.</translation>
    </message>
    <message>
        <source>The downloaded archive has %1 bytes; the catalogue says %2.</source>
        <translation>Das heruntergeladene Archiv hat %1 Bytes; laut Katalog sind es %2.</translation>
    </message>
    <message>
        <source>The downloaded archive is not the one that the catalogue names: its checksum is another one.</source>
        <translation>Das heruntergeladene Archiv ist nicht das aus dem Katalog: Die Prüfsumme ist eine andere.</translation>
    </message>
    <message>
        <source>A file that is to be kept could not be copied: %1</source>
        <translation>Eine Datei, die erhalten bleiben soll, konnte nicht kopiert werden: %1</translation>
    </message>
    <message>
        <source>The archive could not be unpacked. The log file tells more.</source>
        <translation>Das Archiv konnte nicht entpackt werden. Mehr dazu steht in der Protokolldatei.</translation>
    </message>
    <message>
        <source>Nothing was changed. What was installed before is still installed.</source>
        <translation>Es wurde nichts geändert. Was vorher installiert war, ist weiterhin installiert.</translation>
    </message>
</context>
<context>
    <name>Kavo::Settings</name>
    <message>
        <source>Quarnell</source>
        <translation>Quarnell</translation>
    </message>
    <message>
        <source>Kavo Suite</source>
        <translation>Kavo Suite</translation>
    </message>
</context>
<context>
    <name>Kavo::StartUp</name>
    <message>
        <source>Quarnell</source>
        <translation>Quarnell</translation>
    </message>
    <message>
        <source>Kavo Suite</source>
        <translation>Kavo Suite</translation>
    </message>
</context>
<context>
    <name>Kavo::Ui::ApplicationWindow</name>
    <message>
        <source>Kavo Suite</source>
        <translation>Kavo Suite</translation>
    </message>
    <message>
        <source>Installation in progress</source>
        <translation>Installation läuft</translation>
    </message>
    <message>
        <source>There is a installation in progress.

Try closing the application after the installation is completed</source>
        <translation>Zurzeit läuft eine Installation.

Die Anwendung lässt sich erst schließen, wenn die Installation abgeschlossen ist.</translation>
    </message>
</context>
<context>
    <name>Kavo::Ui::PackageActions</name>
    <message>
        <source>Uninstall</source>
        <translatorcomment>Steht vor dem Namen des Pakets: &quot;Paket &lt;Name&gt; von diesem System deinstallieren&quot;.</translatorcomment>
        <translation>Paket</translation>
    </message>
    <message>
        <source>from this system</source>
        <translatorcomment>Steht hinter dem Namen des Pakets, siehe &quot;Uninstall&quot;.</translatorcomment>
        <translation>von diesem System deinstallieren</translation>
    </message>
    <message>
        <source>This package cannot be uninstalled now.

Work on the following packages has to end first

</source>
        <translation>Dieses Paket kann jetzt nicht deinstalliert werden.

Zuerst müssen die Arbeiten an den folgenden Paketen enden

</translation>
    </message>
    <message>
        <source>This package cannot be uninstalled now.

The folder of the simulator is not there, or no simulator is in it

</source>
        <translation>Dieses Paket kann jetzt nicht deinstalliert werden.

Der Ordner des Simulators ist nicht da, oder es ist kein Simulator darin

</translation>
    </message>
    <message>
        <source>The following files and folders could not be removed

</source>
        <translation>Die folgenden Dateien und Ordner konnten nicht entfernt werden

</translation>
    </message>
    <message>
        <source>The following originals could not be put back, and stay in the backup folder

</source>
        <translation>Die folgenden Originale konnten nicht zurückgebracht werden und bleiben im Sicherungsordner

</translation>
    </message>
    <message>
        <source>Not listed : %1</source>
        <translation>Nicht aufgeführt: %1</translation>
    </message>
    <message>
        <source>Uninstall Package</source>
        <translation>Paket deinstallieren</translation>
    </message>
    <message>
        <source>Change Log</source>
        <translation>Änderungsprotokoll</translation>
    </message>
    <message>
        <source>Dependencies Error</source>
        <translation>Fehlende Abhängigkeiten</translation>
    </message>
    <message>
        <source>This package cannot be installed.

One or more Dependencies for this package are not available to install</source>
        <translation>Dieses Paket kann nicht installiert werden.

Eine oder mehrere seiner Abhängigkeiten stehen nicht zur Installation bereit.</translation>
    </message>
    <message>
        <source>Install Package</source>
        <translation>Paket installieren</translation>
    </message>
    <message>
        <source>This package is dependent on following packages and will be installed if not already installed or upgraded if outdated along with this package

</source>
        <translation>Dieses Paket hängt von den folgenden Paketen ab. Sie werden zusammen mit ihm installiert, falls sie fehlen, oder aktualisiert, falls sie veraltet sind:

</translation>
    </message>
    <message>
        <source>
Continue?</source>
        <translation>
Fortfahren?</translation>
    </message>
</context>
<context>
    <name>Kavo::Ui::PackageContainer</name>
    <message>
        <source>Packages</source>
        <translation>Pakete</translation>
    </message>
    <message>
        <source>%1 of %2 packages</source>
        <translation>%1 von %2 Paketen</translation>
    </message>
</context>
<context>
    <name>Kavo::Ui::PackageDetailInfoWidget</name>
    <message>
        <source>NA</source>
        <translation>entfällt</translation>
    </message>
    <message>
        <source>Installed</source>
        <translation>Installiert</translation>
    </message>
    <message>
        <source>Available</source>
        <translation>Verfügbar</translation>
    </message>
    <message>
        <source>Type</source>
        <translation>Art</translation>
    </message>
    <message>
        <source>Package ID</source>
        <translation>Paket-ID</translation>
    </message>
    <message>
        <source>Email</source>
        <translation>E-Mail</translation>
    </message>
    <message>
        <source>Author</source>
        <translation>Autor</translation>
    </message>
    <message>
        <source>Company</source>
        <translation>Firma</translation>
    </message>
    <message>
        <source>Product ID</source>
        <translation>Produkt-ID</translation>
    </message>
</context>
<context>
    <name>Kavo::Ui::PackageDetailOldVersionsList</name>
    <message>
        <source>Installed</source>
        <translation>Installiert</translation>
    </message>
    <message>
        <source>Download</source>
        <translation>Herunterladen</translation>
    </message>
    <message>
        <source>Old versions</source>
        <translation>Ältere Versionen</translation>
    </message>
</context>
<context>
    <name>Kavo::Ui::PackageDetailTitleBar</name>
    <message>
        <source>Get Help</source>
        <translation>Hilfe</translation>
    </message>
    <message>
        <source>Manual</source>
        <translation>Handbuch</translation>
    </message>
    <message>
        <source>Uninstall</source>
        <translation>Deinstallieren</translation>
    </message>
</context>
<context>
    <name>Kavo::Ui::PackageDetailWidget</name>
    <message>
        <source>Back</source>
        <translation>Zurück</translation>
    </message>
    <message>
        <source>Description</source>
        <translation>Beschreibung</translation>
    </message>
    <message>
        <source>Change log</source>
        <translation>Änderungsprotokoll</translation>
    </message>
    <message>
        <source>Old versions</source>
        <translation>Ältere Versionen</translation>
    </message>
    <message>
        <source>Page</source>
        <translation>Seite</translation>
    </message>
    <message>
        <source>Details</source>
        <translation>Details</translation>
    </message>
</context>
<context>
    <name>Kavo::Ui::PackageProcessingWidget</name>
    <message>
        <source>No items found</source>
        <translation>Keine Einträge gefunden</translation>
    </message>
    <message>
        <source>Please wait</source>
        <translation>Bitte warten</translation>
    </message>
</context>
<context>
    <name>Kavo::Ui::PackageSidebar</name>
    <message>
        <source>Category</source>
        <translation>Kategorie</translation>
    </message>
    <message>
        <source>Type</source>
        <translation>Art</translation>
    </message>
    <message>
        <source>Free</source>
        <translation>Kostenlos</translation>
    </message>
    <message>
        <source>Paid</source>
        <translation>Kostenpflichtig</translation>
    </message>
</context>
<context>
    <name>Kavo::Ui::PackageWidget</name>
    <message>
        <source>Installed : </source>
        <translation>Installiert: </translation>
    </message>
    <message>
        <source>Available : </source>
        <translation>Verfügbar: </translation>
    </message>
    <message>
        <source>Status : </source>
        <translation>Status: </translation>
    </message>
    <message>
        <source>More Detail</source>
        <translation>Mehr Details</translation>
    </message>
    <message>
        <source>Free</source>
        <translation>Kostenlos</translation>
    </message>
    <message>
        <source>Paid</source>
        <translation>Kostenpflichtig</translation>
    </message>
    <message>
        <source>Progress: %1</source>
        <translation>Fortschritt: %1</translation>
    </message>
</context>
<context>
    <name>Kavo::Ui::ProgressText</name>
    <message>
        <source>waiting for the server</source>
        <translation>wartet auf den Server</translation>
    </message>
    <message>
        <source>waits for %1</source>
        <translation>wartet auf %1</translation>
    </message>
    <message>
        <source>en</source>
        <comment>code of the language that these texts are in</comment>
        <translation>de</translation>
    </message>
    <message>
        <source>%1 of %2 %3</source>
        <comment>bytes so far, all bytes, unit</comment>
        <translation>%1 von %2 %3</translation>
    </message>
    <message>
        <source>less than a minute left</source>
        <translation>noch weniger als eine Minute</translation>
    </message>
    <message>
        <source>1 minute left</source>
        <translation>noch 1 Minute</translation>
    </message>
    <message numerus="yes">
        <source>%n minutes left</source>
        <translation>
            <numerusform>noch %n Minute</numerusform>
            <numerusform>noch %n Minuten</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n hours left</source>
        <translation>
            <numerusform>noch %n Stunde</numerusform>
            <numerusform>noch %n Stunden</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>Kavo::Ui::StateLook</name>
    <message>
        <source>Download</source>
        <translation>Herunterladen</translation>
    </message>
    <message>
        <source>Update</source>
        <translation>Aktualisieren</translation>
    </message>
    <message>
        <source>Preparing</source>
        <translation>Wird vorbereitet</translation>
    </message>
    <message>
        <source>Downloading</source>
        <translation>Wird geladen</translation>
    </message>
    <message>
        <source>Installing</source>
        <translation>Wird installiert</translation>
    </message>
    <message>
        <source>Uninstalling</source>
        <translation>Wird deinstalliert</translation>
    </message>
    <message>
        <source>Install Error</source>
        <translation>Installationsfehler</translation>
    </message>
    <message>
        <source>Installation failed for package : </source>
        <translation>Die Installation ist fehlgeschlagen. Betroffenes Paket: </translation>
    </message>
    <message>
        <source>Download Error</source>
        <translation>Download-Fehler</translation>
    </message>
    <message>
        <source>Downloading failed for package : </source>
        <translation>Das Herunterladen ist fehlgeschlagen. Betroffenes Paket: </translation>
    </message>
    <message>
        <source>Dependency Error</source>
        <translation>Abhängigkeitsfehler</translation>
    </message>
    <message>
        <source>Unable to install one or more dependency for package : </source>
        <translation>Eine oder mehrere Abhängigkeiten konnten nicht installiert werden. Betroffenes Paket: </translation>
    </message>
    <message>
        <source>Installed</source>
        <translation>Installiert</translation>
    </message>
    <message>
        <source>To try again, press Refresh at the top</source>
        <translation>Für einen neuen Versuch oben „Neu laden“ drücken</translation>
    </message>
</context>
<context>
    <name>Kavo::Ui::TopBar</name>
    <message>
        <source>[Local Repository]</source>
        <translation>[Lokale Paketquelle]</translation>
    </message>
    <message>
        <source>Run X-Plane</source>
        <translation>X-Plane starten</translation>
    </message>
    <message>
        <source>eg. Jetways</source>
        <translation>z. B. Fluggastbrücken</translation>
    </message>
    <message>
        <source>Search</source>
        <translation>Suchen</translation>
    </message>
    <message>
        <source>Refresh</source>
        <translation>Neu laden</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>Reset</source>
        <translation>Zurücksetzen</translation>
    </message>
    <message>
        <source>This action will reset databases and application prefrences.

Continue?</source>
        <translation>Dieser Vorgang setzt die Datenbanken und die Einstellungen der Anwendung zurück.

Fortfahren?</translation>
    </message>
</context>
<context>
    <name>Kavo::WorkReport</name>
    <message>
        <source>Installed : %1</source>
        <translation>Installiert: %1</translation>
    </message>
    <message>
        <source>Failed : %1</source>
        <translation>Fehlgeschlagen: %1</translation>
    </message>
    <message>
        <source>Not listed : %1</source>
        <translation>Nicht aufgeführt: %1</translation>
    </message>
    <message>
        <source>Installations have ended</source>
        <translation>Installationen beendet</translation>
    </message>
</context>
<context>
    <name>QFileDialog</name>
    <message>
        <source>Select the XPlane folder</source>
        <translation>X-Plane-Ordner auswählen</translation>
    </message>
</context>
<context>
    <name>QMessageBox</name>
    <message>
        <source>Dectection failed</source>
        <translation>Erkennung fehlgeschlagen</translation>
    </message>
    <message>
        <source>Unable to determine XPlane installation path.

Application cannot continue further.</source>
        <translation>Der Installationsordner von X-Plane konnte nicht ermittelt werden.

Die Anwendung kann nicht fortgesetzt werden.</translation>
    </message>
    <message>
        <source>Auto-dectection failed</source>
        <translation>Automatische Erkennung fehlgeschlagen</translation>
    </message>
    <message>
        <source>Unable to determine XPlane installation path.

Please select the XPlane folder in the next dialog</source>
        <translation>Der Installationsordner von X-Plane konnte nicht ermittelt werden.

Bitte den X-Plane-Ordner im nächsten Fenster auswählen.</translation>
    </message>
    <message>
        <source>Invalid Folder</source>
        <translation>Ungültiger Ordner</translation>
    </message>
    <message>
        <source>Oops...this doesn&apos;t seem to be a XPlane installation folder.

Try again</source>
        <translation>Hoppla, das scheint kein Installationsordner von X-Plane zu sein.

Bitte noch einmal versuchen.</translation>
    </message>
</context>
<context>
    <name>QSplashScreen</name>
    <message>
        <source>Initializing...</source>
        <translation>Wird vorbereitet ...</translation>
    </message>
    <message>
        <source>Creating UI...</source>
        <translation>Oberfläche wird aufgebaut ...</translation>
    </message>
    <message>
        <source>Starting...</source>
        <translation>Wird gestartet ...</translation>
    </message>
    <message>
        <source>Loading saved configuration...</source>
        <translation>Gespeicherte Einstellungen werden geladen ...</translation>
    </message>
    <message>
        <source>Setting up application language...</source>
        <translation>Sprache wird eingerichtet ...</translation>
    </message>
    <message>
        <source>Loading fonts...</source>
        <translation>Schriften werden geladen ...</translation>
    </message>
    <message>
        <source>Auto-detecting X-Plane installation...1</source>
        <translation>Automatische Suche nach X-Plane ... 1</translation>
    </message>
    <message>
        <source>Auto-detecting X-Plane installation...2</source>
        <translation>Automatische Suche nach X-Plane ... 2</translation>
    </message>
    <message>
        <source>Auto-detecting X-Plane installation...3</source>
        <translation>Automatische Suche nach X-Plane ... 3</translation>
    </message>
    <message>
        <source>Auto-detecting X-Plane installation...4</source>
        <translation>Automatische Suche nach X-Plane ... 4</translation>
    </message>
    <message>
        <source>Manual-detecting X-Plane installation...</source>
        <translation>Manuelle Suche nach X-Plane ...</translation>
    </message>
</context>
</TS>
