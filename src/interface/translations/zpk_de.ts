<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>main</name>
    <message>
        <source>&amp;About ZPK</source>
        <translation>&amp;Über ZPK</translation>
    </message>
    <message>
        <source>&amp;Auto-Protection</source>
        <translation>&amp;Automatischer Schutz</translation>
    </message>
    <message>
        <source>&amp;Back Up Anyway</source>
        <translation>&amp;Trotzdem sichern</translation>
    </message>
    <message>
        <source>&amp;Back Up Now</source>
        <translation>&amp;Jetzt sichern</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>&amp;Abbrechen</translation>
    </message>
    <message>
        <source>&amp;Check the file system before each backup</source>
        <translation>Dateisystem &amp;vor jeder Sicherung prüfen</translation>
    </message>
    <message>
        <source>&amp;Close</source>
        <translation>S&amp;chließen</translation>
    </message>
    <message>
        <source>&amp;Close Open Points</source>
        <translation>Geöffnete schli&amp;eßen</translation>
    </message>
    <message>
        <source>&amp;Copy</source>
        <translation>&amp;Kopieren</translation>
    </message>
    <message>
        <source>&amp;Edit</source>
        <translation>&amp;Bearbeiten</translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>&amp;Datei</translation>
    </message>
    <message>
        <source>&amp;Full Screen</source>
        <translation>&amp;Vollbild</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>&amp;Hilfe</translation>
    </message>
    <message>
        <source>&amp;Keep at most NUMBER increments</source>
        <translation>Höchs&amp;tens NUMBER Zuwächse behalten</translation>
    </message>
    <message>
        <source>&amp;Keyboard Shortcuts</source>
        <translation>&amp;Tastenkürzel</translation>
    </message>
    <message>
        <source>&amp;Log</source>
        <translation>&amp;Protokoll</translation>
    </message>
    <message>
        <source>&amp;Main Window</source>
        <translation>&amp;Hauptfenster</translation>
    </message>
    <message>
        <source>&amp;Merge</source>
        <translation>&amp;Zusammenführen</translation>
    </message>
    <message>
        <source>&amp;Merge…</source>
        <translation>Zusa&amp;mmenführen…</translation>
    </message>
    <message>
        <source>&amp;Name of the archive:</source>
        <translation>&amp;Name des Archivs:</translation>
    </message>
    <message>
        <source>&amp;OK</source>
        <translation>&amp;OK</translation>
    </message>
    <message>
        <source>&amp;Open ZPK</source>
        <translation>ZPK ö&amp;ffnen</translation>
    </message>
    <message>
        <source>&amp;Pin</source>
        <translation>&amp;Anheften</translation>
    </message>
    <message>
        <source>&amp;Pin…</source>
        <translation>&amp;Anheften…</translation>
    </message>
    <message>
        <source>&amp;Quit</source>
        <translation>&amp;Beenden</translation>
    </message>
    <message>
        <source>&amp;Quit ZPK</source>
        <translation>ZPK &amp;beenden</translation>
    </message>
    <message>
        <source>&amp;Restore…</source>
        <translation>&amp;Wiederherstellen…</translation>
    </message>
    <message>
        <source>&amp;Stop</source>
        <translation>A&amp;nhalten</translation>
    </message>
    <message>
        <source>&amp;View</source>
        <translation>&amp;Ansicht</translation>
    </message>
    <message>
        <source>&amp;Window</source>
        <translation>&amp;Fenster</translation>
    </message>
    <message>
        <source>&amp;ZPK</source>
        <translation>&amp;ZPK</translation>
    </message>
    <message>
        <source>&amp;Zoom</source>
        <translation>&amp;Zoomen</translation>
    </message>
    <message>
        <source>A full backup point holds everything, an increment what has changed.</source>
        <translation>Ein vollständiger Sicherungspunkt enthält alles, ein Zuwachs nur die Änderungen.</translation>
    </message>
    <message>
        <source>A new Windows partition is made in the free space of DISK. Nothing on it is erased.</source>
        <translation>Im freien Platz von DISK wird eine neue Windows-Partition angelegt. Nichts darauf wird gelöscht.</translation>
    </message>
    <message>
        <source>A pinned backup point is never merged away.</source>
        <translation>Ein angehefteter Sicherungspunkt geht nie in einem anderen auf.</translation>
    </message>
    <message>
        <source>A pinned backup point is never merged away. Give it a label to know it by.</source>
        <translation>Ein angehefteter Sicherungspunkt geht nie in einem anderen auf. Geben Sie ihm eine Bezeichnung, an der Sie ihn erkennen.</translation>
    </message>
    <message>
        <source>About ZPK</source>
        <translation>Über ZPK</translation>
    </message>
    <message>
        <source>Action</source>
        <translation>Aktion</translation>
    </message>
    <message>
        <source>Actions and their keys</source>
        <translation>Aktionen und ihre Tasten</translation>
    </message>
    <message>
        <source>All days of the week</source>
        <translation>Alle Wochentage</translation>
    </message>
    <message>
        <source>An archive’s name ends in “.TYPE”. Choose a name without “.EXTENSION”.</source>
        <translation>Der Name eines Archivs endet auf „.TYPE“. Wählen Sie einen Namen ohne „.EXTENSION“.</translation>
    </message>
    <message>
        <source>An opened backup point is no longer there.</source>
        <translation>Ein geöffneter Sicherungspunkt ist nicht mehr da.</translation>
    </message>
    <message>
        <source>An operation is running</source>
        <translation>Ein Vorgang läuft</translation>
    </message>
    <message>
        <source>An operation is running. Wait for its end, or stop it.</source>
        <translation>Ein Vorgang läuft. Warten Sie, bis er beendet ist, oder halten Sie ihn an.</translation>
    </message>
    <message>
        <source>Archive path not set</source>
        <translation>Kein Speicherort für das Archiv gewählt</translation>
    </message>
    <message>
        <source>At:</source>
        <translation>Um:</translation>
    </message>
    <message>
        <source>Auto-Protection</source>
        <translation>Automatischer Schutz</translation>
    </message>
    <message>
        <source>Auto-Protection: </source>
        <translation>Automatischer Schutz: </translation>
    </message>
    <message>
        <source>Available</source>
        <translation>Verfügbar</translation>
    </message>
    <message>
        <source>Back up by itself, without being asked to.</source>
        <translation>Von selbst sichern, ohne dass jemand daran denken muss.</translation>
    </message>
    <message>
        <source>Back up:</source>
        <translation>Sichern:</translation>
    </message>
    <message>
        <source>Backing up</source>
        <translation>Sicherung läuft</translation>
    </message>
    <message>
        <source>Backing up SOURCE → TARGET</source>
        <translation>Sicherung: SOURCE → TARGET</translation>
    </message>
    <message>
        <source>Backs up by itself at the times you choose.</source>
        <translation>Sichert von selbst, zu den Zeiten, die Sie wählen.</translation>
    </message>
    <message>
        <source>Backs up the Windows side of a dual-boot disk, and puts it back.</source>
        <translation>Sichert den Windows-Teil eines Datenträgers mit zwei Systemen und stellt ihn wieder her.</translation>
    </message>
    <message>
        <source>Backup &amp;Points</source>
        <translation>Siche&amp;rungspunkte</translation>
    </message>
    <message>
        <source>Backup Po&amp;int</source>
        <translation>Sicherungsp&amp;unkt</translation>
    </message>
    <message>
        <source>Backup archives</source>
        <translation>Sicherungsarchive</translation>
    </message>
    <message>
        <source>Backup points are open. Close them and quit?</source>
        <translation>Es sind Sicherungspunkte geöffnet. Schließen und beenden?</translation>
    </message>
    <message>
        <source>Backup points, oldest first</source>
        <translation>Sicherungspunkte, älteste zuerst</translation>
    </message>
    <message>
        <source>Bad index</source>
        <translation>Ungültige Auswahl</translation>
    </message>
    <message>
        <source>Bad target disk</source>
        <translation>Ungeeigneter Zieldatenträger</translation>
    </message>
    <message>
        <source>Best on another disk than Windows itself.</source>
        <translation>Am besten getrennt von Windows.</translation>
    </message>
    <message>
        <source>Both become one backup point, which holds what the newer one holds:
NEWER

The older one can then no longer be restored on its own:
OLDER</source>
        <translation>Aus beiden wird ein Sicherungspunkt mit dem Stand des neueren:
NEWER

Der ältere lässt sich danach nicht mehr einzeln wiederherstellen:
OLDER</translation>
    </message>
    <message>
        <source>C&amp;ollect</source>
        <translation>&amp;Sammeln</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Change Sc&amp;hedule…</source>
        <translation>&amp;Zeitplan ändern…</translation>
    </message>
    <message>
        <source>Change Schedule</source>
        <translation>Zeitplan ändern</translation>
    </message>
    <message>
        <source>Change…</source>
        <translation>Ändern…</translation>
    </message>
    <message>
        <source>Check for &amp;Updates…</source>
        <translation>Nach &amp;Aktualisierungen suchen…</translation>
    </message>
    <message>
        <source>Choose</source>
        <translation>Auswählen</translation>
    </message>
    <message>
        <source>Choose &amp;Disk…</source>
        <translation>Dat&amp;enträger wählen…</translation>
    </message>
    <message>
        <source>Choose L&amp;ocation…</source>
        <translation>Speicher&amp;ort wählen…</translation>
    </message>
    <message>
        <source>Choose the Windows disk to protect</source>
        <translation>Wählen Sie den Windows-Datenträger, der geschützt werden soll</translation>
    </message>
    <message>
        <source>Choose the Windows disk to protect first.</source>
        <translation>Wählen Sie zuerst den Windows-Datenträger, der geschützt werden soll.</translation>
    </message>
    <message>
        <source>Choose the disk to restore Windows to</source>
        <translation>Wählen Sie den Datenträger, auf dem Windows wiederhergestellt werden soll</translation>
    </message>
    <message>
        <source>Choose the disk whose Windows side is to be backed up</source>
        <translation>Wählen Sie den Datenträger, dessen Windows-Teil gesichert werden soll</translation>
    </message>
    <message>
        <source>Choose where to keep the backups</source>
        <translation>Wählen Sie, wo die Sicherungen aufbewahrt werden</translation>
    </message>
    <message>
        <source>Choose where to keep the backups first.</source>
        <translation>Wählen Sie zuerst, wo die Sicherungen aufbewahrt werden.</translation>
    </message>
    <message>
        <source>Close and &amp;Quit</source>
        <translation>Schließen und &amp;beenden</translation>
    </message>
    <message>
        <source>Collect &amp;Logs…</source>
        <translation>&amp;Protokolle sammeln…</translation>
    </message>
    <message>
        <source>Collect Logs</source>
        <translation>Protokolle sammeln</translation>
    </message>
    <message>
        <source>Collect logs for finding a fault</source>
        <translation>Protokolle für die Fehlersuche sammeln</translation>
    </message>
    <message>
        <source>Collecting. This takes a few minutes.</source>
        <translation>Wird gesammelt. Das dauert einige Minuten.</translation>
    </message>
    <message>
        <source>Date</source>
        <translation>Datum</translation>
    </message>
    <message>
        <source>Day of the month</source>
        <translation>Tag des Monats</translation>
    </message>
    <message>
        <source>Day of the week</source>
        <translation>Wochentag</translation>
    </message>
    <message>
        <source>Disable</source>
        <translation>Ausschalten</translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation>Ausgeschaltet</translation>
    </message>
    <message>
        <source>Disk not found</source>
        <translation>Datenträger nicht gefunden</translation>
    </message>
    <message>
        <source>Disk without a name</source>
        <translation>Datenträger ohne Namen</translation>
    </message>
    <message>
        <source>Disks</source>
        <translation>Datenträger</translation>
    </message>
    <message>
        <source>Disks and archive are being read. This takes a moment.</source>
        <translation>Datenträger und Archiv werden gelesen. Das dauert einen Moment.</translation>
    </message>
    <message>
        <source>Elapsed</source>
        <translation>Vergangen</translation>
    </message>
    <message>
        <source>Enable</source>
        <translation>Einschalten</translation>
    </message>
    <message>
        <source>Enable Auto-Protection first.</source>
        <translation>Schalten Sie zuerst den automatischen Schutz ein.</translation>
    </message>
    <message>
        <source>Enabled</source>
        <translation>Eingeschaltet</translation>
    </message>
    <message>
        <source>Error of the last backup</source>
        <translation>Fehler der letzten Sicherung</translation>
    </message>
    <message>
        <source>Every DAY of the month</source>
        <translation>Jeden DAY. des Monats</translation>
    </message>
    <message>
        <source>Every day</source>
        <translation>Jeden Tag</translation>
    </message>
    <message>
        <source>Every friday</source>
        <translation>Jeden Freitag</translation>
    </message>
    <message>
        <source>Every monday</source>
        <translation>Jeden Montag</translation>
    </message>
    <message>
        <source>Every month</source>
        <translation>Jeden Monat</translation>
    </message>
    <message>
        <source>Every saturday</source>
        <translation>Jeden Samstag</translation>
    </message>
    <message>
        <source>Every sunday</source>
        <translation>Jeden Sonntag</translation>
    </message>
    <message>
        <source>Every thursday</source>
        <translation>Jeden Donnerstag</translation>
    </message>
    <message>
        <source>Every tuesday</source>
        <translation>Jeden Dienstag</translation>
    </message>
    <message>
        <source>Every wednesday</source>
        <translation>Jeden Mittwoch</translation>
    </message>
    <message>
        <source>Every week</source>
        <translation>Jede Woche</translation>
    </message>
    <message>
        <source>Everything else in it is open.</source>
        <translation>Alles Übrige darin ist geöffnet.</translation>
    </message>
    <message>
        <source>Everything on DISK will be erased.</source>
        <translation>Alles auf DISK wird gelöscht.</translation>
    </message>
    <message>
        <source>ExtFS 2</source>
        <translation>ExtFS 2</translation>
    </message>
    <message>
        <source>ExtFS 3</source>
        <translation>ExtFS 3</translation>
    </message>
    <message>
        <source>ExtFS 4</source>
        <translation>ExtFS 4</translation>
    </message>
    <message>
        <source>FAT12</source>
        <translation>FAT12</translation>
    </message>
    <message>
        <source>FAT16</source>
        <translation>FAT16</translation>
    </message>
    <message>
        <source>FAT32</source>
        <translation>FAT32</translation>
    </message>
    <message>
        <source>Files of type:</source>
        <translation>Dateityp:</translation>
    </message>
    <message>
        <source>First backup:</source>
        <translation>Erste Sicherung:</translation>
    </message>
    <message>
        <source>Full</source>
        <translation>Vollständig</translation>
    </message>
    <message>
        <source>HFS+</source>
        <translation>HFS+</translation>
    </message>
    <message>
        <source>HPFS</source>
        <translation>HPFS</translation>
    </message>
    <message>
        <source>How often to back up</source>
        <translation>Wie oft gesichert wird</translation>
    </message>
    <message>
        <source>Increment</source>
        <translation>Zuwachs</translation>
    </message>
    <message>
        <source>Its Windows side is what is backed up.</source>
        <translation>Gesichert wird sein Windows-Teil.</translation>
    </message>
    <message>
        <source>Keyboard Shortcuts</source>
        <translation>Tastenkürzel</translation>
    </message>
    <message>
        <source>Keys</source>
        <translation>Tasten</translation>
    </message>
    <message>
        <source>Kind</source>
        <translation>Art</translation>
    </message>
    <message>
        <source>Label</source>
        <translation>Bezeichnung</translation>
    </message>
    <message>
        <source>Last backup:</source>
        <translation>Letzte Sicherung:</translation>
    </message>
    <message>
        <source>Log of the running operation</source>
        <translation>Protokoll des laufenden Vorgangs</translation>
    </message>
    <message>
        <source>Look in:</source>
        <translation>Suchen in:</translation>
    </message>
    <message>
        <source>Merge this backup point into the one before it?</source>
        <translation>Diesen Sicherungspunkt mit dem vorherigen zusammenführen?</translation>
    </message>
    <message>
        <source>Merging SOURCE → TARGET</source>
        <translation>Zusammenführung: SOURCE → TARGET</translation>
    </message>
    <message>
        <source>Merging backup points</source>
        <translation>Sicherungspunkte werden zusammengeführt</translation>
    </message>
    <message>
        <source>Mi&amp;nimize</source>
        <translation>Mi&amp;nimieren</translation>
    </message>
    <message>
        <source>Months without that day are skipped.</source>
        <translation>Monate ohne diesen Tag werden übersprungen.</translation>
    </message>
    <message>
        <source>Most increments kept</source>
        <translation>Höchstzahl aufbewahrter Zuwächse</translation>
    </message>
    <message>
        <source>NTFS</source>
        <translation>NTFS</translation>
    </message>
    <message>
        <source>Name of the archive</source>
        <translation>Name des Archivs</translation>
    </message>
    <message>
        <source>No archive target directory</source>
        <translation>Zielordner des Archivs fehlt</translation>
    </message>
    <message>
        <source>No backup point is open.</source>
        <translation>Es ist kein Sicherungspunkt geöffnet.</translation>
    </message>
    <message>
        <source>No backup points yet. Choose the Windows disk to protect, then where to keep the backups.</source>
        <translation>Noch keine Sicherungspunkte. Wählen Sie den Windows-Datenträger, der geschützt werden soll, und dann, wo die Sicherungen aufbewahrt werden.</translation>
    </message>
    <message>
        <source>No backup points yet. Choose where to keep the backups.</source>
        <translation>Noch keine Sicherungspunkte. Wählen Sie, wo die Sicherungen aufbewahrt werden.</translation>
    </message>
    <message>
        <source>No backup points yet. The first backup makes the first one.</source>
        <translation>Noch keine Sicherungspunkte. Die erste Sicherung legt den ersten an.</translation>
    </message>
    <message>
        <source>No description</source>
        <translation>Keine Beschreibung</translation>
    </message>
    <message>
        <source>No disk can take this backup.</source>
        <translation>Kein Datenträger kann diese Sicherung aufnehmen.</translation>
    </message>
    <message>
        <source>No disk chosen</source>
        <translation>Kein Datenträger gewählt</translation>
    </message>
    <message>
        <source>No disk with a Windows installation was found.</source>
        <translation>Es wurde kein Datenträger mit Windows gefunden.</translation>
    </message>
    <message>
        <source>No location chosen</source>
        <translation>Kein Speicherort gewählt</translation>
    </message>
    <message>
        <source>No operation is running.</source>
        <translation>Es läuft kein Vorgang.</translation>
    </message>
    <message>
        <source>No progress since TIME</source>
        <translation>Kein Fortschritt seit TIME</translation>
    </message>
    <message>
        <source>None</source>
        <translation>Keine</translation>
    </message>
    <message>
        <source>Not enough free space. Need: NEED, have: HAVE.</source>
        <translation>Nicht genug freier Platz. Benötigt: NEED, vorhanden: HAVE.</translation>
    </message>
    <message>
        <source>Not pinned</source>
        <translation>Nicht angeheftet</translation>
    </message>
    <message>
        <source>OPERATION: NUMBER %</source>
        <translation>OPERATION: NUMBER %</translation>
    </message>
    <message>
        <source>On:</source>
        <translation>Am:</translation>
    </message>
    <message>
        <source>Ope&amp;n</source>
        <translation>&amp;Öffnen</translation>
    </message>
    <message>
        <source>Other programs can then no longer read their files. The backups stay as they are.</source>
        <translation>Andere Programme können ihre Dateien dann nicht mehr lesen. Die Sicherungen bleiben, wie sie sind.</translation>
    </message>
    <message>
        <source>Part of the backup point cannot be shown.</source>
        <translation>Ein Teil des Sicherungspunkts kann nicht angezeigt werden.</translation>
    </message>
    <message>
        <source>Percent done</source>
        <translation>Prozent erledigt</translation>
    </message>
    <message>
        <source>Pin this backup point</source>
        <translation>Diesen Sicherungspunkt anheften</translation>
    </message>
    <message>
        <source>Pinned</source>
        <translation>Angeheftet</translation>
    </message>
    <message>
        <source>Progress</source>
        <translation>Fortschritt</translation>
    </message>
    <message>
        <source>ReFS</source>
        <translation>ReFS</translation>
    </message>
    <message>
        <source>Ready to back up</source>
        <translation>Bereit zum Sichern</translation>
    </message>
    <message>
        <source>Ready. Last backup: DATE</source>
        <translation>Bereit. Letzte Sicherung: DATE</translation>
    </message>
    <message>
        <source>Ready. There is no backup yet.</source>
        <translation>Bereit. Es gibt noch keine Sicherung.</translation>
    </message>
    <message>
        <source>Remaining</source>
        <translation>Verbleibend</translation>
    </message>
    <message>
        <source>Restore</source>
        <translation>Wiederherstellen</translation>
    </message>
    <message>
        <source>Restoring</source>
        <translation>Wiederherstellung läuft</translation>
    </message>
    <message>
        <source>Restoring SOURCE → TARGET</source>
        <translation>Wiederherstellung: SOURCE → TARGET</translation>
    </message>
    <message>
        <source>SCHEDULE_DATE at SCHEDULE_TIME</source>
        <translation>SCHEDULE_DATE um SCHEDULE_TIME</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Speichern</translation>
    </message>
    <message>
        <source>Schedule</source>
        <translation>Zeitplan</translation>
    </message>
    <message>
        <source>Select</source>
        <translation>Auswählen</translation>
    </message>
    <message>
        <source>Select &amp;All</source>
        <translation>&amp;Alles auswählen</translation>
    </message>
    <message>
        <source>Select a backup point first.</source>
        <translation>Wählen Sie zuerst einen Sicherungspunkt aus.</translation>
    </message>
    <message>
        <source>Select one backup point only.</source>
        <translation>Wählen Sie nur einen Sicherungspunkt aus.</translation>
    </message>
    <message>
        <source>Service is busy</source>
        <translation>Der Dienst ist beschäftigt</translation>
    </message>
    <message>
        <source>Show Lo&amp;g</source>
        <translation>Protokoll zei&amp;gen</translation>
    </message>
    <message>
        <source>Show the s&amp;tatus icon</source>
        <translation>Statuss&amp;ymbol anzeigen</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>Größe</translation>
    </message>
    <message>
        <source>Size of the restored Windows partition</source>
        <translation>Größe der wiederhergestellten Windows-Partition</translation>
    </message>
    <message>
        <source>Size:</source>
        <translation>Größe:</translation>
    </message>
    <message>
        <source>Something else is still being done. Wait until it is finished, then try again.</source>
        <translation>Ein anderer Vorgang läuft noch. Warten Sie, bis er beendet ist, und versuchen Sie es dann erneut.</translation>
    </message>
    <message>
        <source>Source disk not set</source>
        <translation>Kein Datenträger zum Sichern gewählt</translation>
    </message>
    <message>
        <source>Stopping…</source>
        <translation>Wird angehalten…</translation>
    </message>
    <message>
        <source>Success</source>
        <translation>Erfolgreich</translation>
    </message>
    <message>
        <source>The archive stays on this computer until you pass it on yourself. It names disks, files and programs of yours, but holds nothing of what is in your backups.</source>
        <translation>Das Archiv bleibt auf diesem Computer, bis Sie es selbst weitergeben. Es nennt Ihre Datenträger, Dateien und Programme, enthält aber nichts von dem, was in Ihren Sicherungen steht.</translation>
    </message>
    <message>
        <source>The backup helper is not running.</source>
        <translation>Der Hilfsdienst läuft nicht.</translation>
    </message>
    <message>
        <source>The backup helper is not running. What is shown may be out of date; the connection is made again as soon as the helper is back.</source>
        <translation>Der Hilfsdienst läuft nicht. Die Anzeige kann veraltet sein; die Verbindung wird wiederhergestellt, sobald der Dienst wieder läuft.</translation>
    </message>
    <message>
        <source>The backup point before it is pinned, and nothing is merged into that.</source>
        <translation>Der vorherige Sicherungspunkt ist angeheftet und wird mit keinem anderen zusammengeführt.</translation>
    </message>
    <message>
        <source>The backup points cannot be read now. Connect the disk on which they are kept.</source>
        <translation>Die Sicherungspunkte sind zurzeit nicht lesbar. Schließen Sie den Datenträger an, auf dem sie liegen.</translation>
    </message>
    <message>
        <source>The backups at this place are of another disk.</source>
        <translation>Die Sicherungen an diesem Ort sind von einem anderen Datenträger.</translation>
    </message>
    <message>
        <source>The backups cannot be reached now</source>
        <translation>Die Sicherungen sind zurzeit nicht erreichbar</translation>
    </message>
    <message>
        <source>The choice is no longer possible: it is out of range, or the backup points have changed since. Look at the list and choose again.</source>
        <translation>Diese Auswahl ist nicht mehr möglich: Sie liegt außerhalb des Erlaubten, oder die Sicherungspunkte haben sich inzwischen geändert. Sehen Sie in der Liste nach und wählen Sie erneut.</translation>
    </message>
    <message>
        <source>The disk is not connected any more, or its Windows side is gone. Connect it and choose it again.</source>
        <translation>Der Datenträger ist nicht mehr angeschlossen, oder sein Windows-Teil fehlt. Schließen Sie ihn an und wählen Sie ihn erneut.</translation>
    </message>
    <message>
        <source>The disk that is backed up is not connected.</source>
        <translation>Der Datenträger, der gesichert wird, ist nicht angeschlossen.</translation>
    </message>
    <message>
        <source>The first backup point has none before it to be merged into.</source>
        <translation>Vor dem ersten Sicherungspunkt gibt es keinen, mit dem er zusammengeführt werden könnte.</translation>
    </message>
    <message>
        <source>The folder for the backups is not there or cannot be written to. Connect its disk, or choose another location.</source>
        <translation>Der Ordner für die Sicherungen fehlt oder ist nicht beschreibbar. Schließen Sie seinen Datenträger an, oder wählen Sie einen anderen Speicherort.</translation>
    </message>
    <message>
        <source>The helper has not answered yet.</source>
        <translation>Der Hilfsdienst hat noch nicht geantwortet.</translation>
    </message>
    <message>
        <source>The helper is busy</source>
        <translation>Der Hilfsdienst ist beschäftigt</translation>
    </message>
    <message>
        <source>The helper is not answering</source>
        <translation>Der Hilfsdienst antwortet nicht</translation>
    </message>
    <message>
        <source>The helper refused for a reason that this version of the program does not know. Its log may tell more.</source>
        <translation>Der Hilfsdienst hat aus einem Grund abgelehnt, den diese Version des Programms nicht kennt. Sein Protokoll verrät vielleicht mehr.</translation>
    </message>
    <message>
        <source>The last backup failed:</source>
        <translation>Die letzte Sicherung ist fehlgeschlagen:</translation>
    </message>
    <message>
        <source>The last backup failed: REASON</source>
        <translation>Die letzte Sicherung ist fehlgeschlagen: REASON</translation>
    </message>
    <message>
        <source>The log of a backup is shown here while it runs.</source>
        <translation>Während einer Sicherung steht hier ihr Protokoll.</translation>
    </message>
    <message>
        <source>The older of the two can then no longer be restored on its own.</source>
        <translation>Der ältere der beiden lässt sich danach nicht mehr einzeln wiederherstellen.</translation>
    </message>
    <message>
        <source>The open backup points are being closed.</source>
        <translation>Die geöffneten Sicherungspunkte werden geschlossen.</translation>
    </message>
    <message>
        <source>The operation could not be completed</source>
        <translation>Der Vorgang konnte nicht abgeschlossen werden</translation>
    </message>
    <message>
        <source>The operation is being stopped.</source>
        <translation>Der Vorgang wird angehalten.</translation>
    </message>
    <message>
        <source>The place of the backups cannot be reached.</source>
        <translation>Der Ort der Sicherungen ist nicht erreichbar.</translation>
    </message>
    <message>
        <source>The place where the backups are kept cannot be reached now.</source>
        <translation>Der Speicherort der Sicherungen ist zurzeit nicht erreichbar.</translation>
    </message>
    <message>
        <source>The status icon is not installed.</source>
        <translation>Das Statussymbol ist nicht installiert.</translation>
    </message>
    <message>
        <source>The Windows partition (SIZE) on DISK will be replaced. The rest of the disk stays.</source>
        <translation>Die Windows-Partition (SIZE) auf DISK wird ersetzt. Der Rest des Datenträgers bleibt erhalten.</translation>
    </message>
    <message>
        <source>There is nothing to do.</source>
        <translation>Es ist nichts zu tun.</translation>
    </message>
    <message>
        <source>This archive was made from another disk</source>
        <translation>Dieses Archiv stammt von einem anderen Datenträger</translation>
    </message>
    <message>
        <source>This disk cannot take the backup: it is too small, or it is divided in a way that leaves no place for Windows. Choose another disk.</source>
        <translation>Dieser Datenträger kann die Sicherung nicht aufnehmen: Er ist zu klein, oder seine Aufteilung lässt keinen Platz für Windows. Wählen Sie einen anderen Datenträger.</translation>
    </message>
    <message>
        <source>This version of ZPK cannot open backup points.</source>
        <translation>Diese Version von ZPK kann keine Sicherungspunkte öffnen.</translation>
    </message>
    <message>
        <source>Time of day</source>
        <translation>Uhrzeit</translation>
    </message>
    <message>
        <source>U&amp;ninstall ZPK…</source>
        <translation>ZPK &amp;deinstallieren…</translation>
    </message>
    <message>
        <source>USED used, FREE free</source>
        <translation>USED belegt, FREE frei</translation>
    </message>
    <message>
        <source>Un&amp;pin</source>
        <translation>&amp;Lösen</translation>
    </message>
    <message>
        <source>Unformatted</source>
        <translation>Unformatiert</translation>
    </message>
    <message>
        <source>Used space of the disks when the backup point was made</source>
        <translation>Belegter Platz der Datenträger, als der Sicherungspunkt entstand</translation>
    </message>
    <message>
        <source>Version</source>
        <translation>Version</translation>
    </message>
    <message>
        <source>Wait a moment and open it again. If it stays silent, end it first.</source>
        <translation>Warten Sie einen Augenblick und öffnen Sie es erneut. Bleibt es stumm, beenden Sie es zuerst.</translation>
    </message>
    <message>
        <source>Waiting for the helper…</source>
        <translation>Warten auf den Hilfsdienst…</translation>
    </message>
    <message>
        <source>What showed its files has ended unexpectedly. The backup itself is not changed; open it again to go on.</source>
        <translation>Das Programm, das seine Dateien gezeigt hat, wurde unerwartet beendet. Die Sicherung selbst ist unverändert; öffnen Sie sie erneut, um fortzufahren.</translation>
    </message>
    <message>
        <source>Where the backups are kept</source>
        <translation>Speicherort der Sicherungen</translation>
    </message>
    <message>
        <source>Where to keep the backups</source>
        <translation>Wo die Sicherungen aufbewahrt werden</translation>
    </message>
    <message>
        <source>Windows (SIZE)</source>
        <translation>Windows (SIZE)</translation>
    </message>
    <message>
        <source>Windows Backup</source>
        <translation>Windows-Sicherung</translation>
    </message>
    <message>
        <source>Windows disk to protect</source>
        <translation>Zu schützender Windows-Datenträger</translation>
    </message>
    <message>
        <source>Windows on NAME (SIZE)</source>
        <translation>Windows auf NAME (SIZE)</translation>
    </message>
    <message>
        <source>Working</source>
        <translation>In Arbeit</translation>
    </message>
    <message>
        <source>XFS</source>
        <translation>XFS</translation>
    </message>
    <message>
        <source>ZPK</source>
        <translation>ZPK</translation>
    </message>
    <message>
        <source>ZPK could not be started.</source>
        <translation>ZPK konnte nicht gestartet werden.</translation>
    </message>
    <message>
        <source>ZPK is removed with the system’s package manager.</source>
        <translation>ZPK wird mit der Paketverwaltung des Systems entfernt.</translation>
    </message>
    <message>
        <source>ZPK is running already, but it does not answer.</source>
        <translation>ZPK läuft bereits, antwortet aber nicht.</translation>
    </message>
    <message>
        <source>ZPK is updated by the system’s package manager.</source>
        <translation>ZPK wird von der Paketverwaltung des Systems aktualisiert.</translation>
    </message>
    <message>
        <source>ZPK puts its own logs, those of its helper and of the system, and a list of the disks into one archive and shows you where it is. Whoever looks into a fault sees from it what has happened.</source>
        <translation>ZPK legt seine eigenen Protokolle, die seines Helfers und die des Systems sowie eine Liste der Datenträger in ein Archiv und zeigt Ihnen, wo es liegt. Wer einem Fehler nachgeht, sieht daran, was geschehen ist.</translation>
    </message>
    <message>
        <source>ZPK quits when the logs are collected.</source>
        <translation>ZPK wird beendet, sobald die Protokolle gesammelt sind.</translation>
    </message>
    <message>
        <source>empty</source>
        <translation>leer</translation>
    </message>
    <message>
        <source>exFAT</source>
        <translation>exFAT</translation>
    </message>
    <message>
        <source>mounted at</source>
        <translation>eingehängt unter</translation>
    </message>
    <message>
        <source>“NAME”</source>
        <translation>„NAME“</translation>
    </message>
    <message>
        <source>“NAME” (DEVICE)</source>
        <translation>„NAME“ (DEVICE)</translation>
    </message>
    <message>
        <source>“NAME” holds backup points of another disk. Backing up adds a backup point of the disk that you have chosen to it. The backup points of the other disk stay as they are.

To keep the two apart, cancel and choose another location.</source>
        <translation>„NAME“ enthält Sicherungspunkte eines anderen Datenträgers. Beim Sichern kommt ein Sicherungspunkt des gewählten Datenträgers hinzu. Die Sicherungspunkte des anderen bleiben, wie sie sind.

Um beide getrennt zu halten, brechen Sie ab und wählen Sie einen anderen Speicherort.</translation>
    </message>
    <message>
        <source>“PARTITION” (SIZE) on DISK will be replaced. The rest of the disk stays.</source>
        <translation>„PARTITION“ (SIZE) auf DISK wird ersetzt. Der Rest des Datenträgers bleibt erhalten.</translation>
    </message>
</context>
</TS>
