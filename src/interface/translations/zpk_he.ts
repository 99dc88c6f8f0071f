<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="he" sourcelanguage="en">
<context>
    <name>main</name>
    <message>
        <source>&amp;About ZPK</source>
        <translation>&amp;אודות ZPK</translation>
    </message>
    <message>
        <source>&amp;Auto-Protection</source>
        <translation>הגנה &amp;אוטומטית</translation>
    </message>
    <message>
        <source>&amp;Back Up Anyway</source>
        <translation>&amp;גיבוי בכל זאת</translation>
    </message>
    <message>
        <source>&amp;Back Up Now</source>
        <translation>&amp;גיבוי כעת</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>&amp;ביטול</translation>
    </message>
    <message>
        <source>&amp;Check the file system before each backup</source>
        <translation>בדיקת מערכת הקבצים &amp;לפני כל גיבוי</translation>
    </message>
    <message>
        <source>&amp;Close</source>
        <translation>&amp;סגירה</translation>
    </message>
    <message>
        <source>&amp;Close Open Points</source>
        <translation>ס&amp;גירת הנקודות הפתוחות</translation>
    </message>
    <message>
        <source>&amp;Copy</source>
        <translation>ה&amp;עתקה</translation>
    </message>
    <message>
        <source>&amp;Edit</source>
        <translation>&amp;עריכה</translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>&amp;קובץ</translation>
    </message>
    <message>
        <source>&amp;Full Screen</source>
        <translation>מסך &amp;מלא</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>ע&amp;זרה</translation>
    </message>
    <message>
        <source>&amp;Keep at most NUMBER increments</source>
        <translation>שמי&amp;רת NUMBER תוספות לכל היותר</translation>
    </message>
    <message>
        <source>&amp;Keyboard Shortcuts</source>
        <translation>&amp;קיצורי מקשים</translation>
    </message>
    <message>
        <source>&amp;Log</source>
        <translation>&amp;יומן</translation>
    </message>
    <message>
        <source>&amp;Main Window</source>
        <translation>החלון ה&amp;ראשי</translation>
    </message>
    <message>
        <source>&amp;Merge</source>
        <translation>&amp;מיזוג</translation>
    </message>
    <message>
        <source>&amp;Merge…</source>
        <translation>&amp;מיזוג…</translation>
    </message>
    <message>
        <source>&amp;Name of the archive:</source>
        <translation>&amp;שם הארכיון:</translation>
    </message>
    <message>
        <source>&amp;OK</source>
        <translation>&amp;אישור</translation>
    </message>
    <message>
        <source>&amp;Open ZPK</source>
        <translation>&amp;פתיחת ZPK</translation>
    </message>
    <message>
        <source>&amp;Pin</source>
        <translation>&amp;הצמדה</translation>
    </message>
    <message>
        <source>&amp;Pin…</source>
        <translation>&amp;הצמדה…</translation>
    </message>
    <message>
        <source>&amp;Quit</source>
        <translation>י&amp;ציאה</translation>
    </message>
    <message>
        <source>&amp;Quit ZPK</source>
        <translation>&amp;יציאה מ־ZPK</translation>
    </message>
    <message>
        <source>&amp;Restore…</source>
        <translation>&amp;שחזור…</translation>
    </message>
    <message>
        <source>&amp;Stop</source>
        <translation>ע&amp;צירה</translation>
    </message>
    <message>
        <source>&amp;View</source>
        <translation>&amp;תצוגה</translation>
    </message>
    <message>
        <source>&amp;Window</source>
        <translation>&amp;חלון</translation>
    </message>
    <message>
        <source>&amp;ZPK</source>
        <translation>&amp;ZPK</translation>
    </message>
    <message>
        <source>&amp;Zoom</source>
        <translation>&amp;זום</translation>
    </message>
    <message>
        <source>A full backup point holds everything, an increment what has changed.</source>
        <translation>נקודת גיבוי מלאה מכילה הכול, תוספת מכילה רק את מה שהשתנה.</translation>
    </message>
    <message>
        <source>A new Windows partition is made in the free space of DISK. Nothing on it is erased.</source>
        <translation>מחיצת Windows חדשה תיווצר במקום הפנוי של הדיסק DISK. שום דבר בדיסק לא יימחק.</translation>
    </message>
    <message>
        <source>A pinned backup point is never merged away.</source>
        <translation>נקודת גיבוי מוצמדת לעולם אינה נבלעת במיזוג.</translation>
    </message>
    <message>
        <source>A pinned backup point is never merged away. Give it a label to know it by.</source>
        <translation>נקודת גיבוי מוצמדת לעולם אינה נבלעת במיזוג. תנו לה תווית שלפיה תזהו אותה.</translation>
    </message>
    <message>
        <source>About ZPK</source>
        <translation>אודות ZPK</translation>
    </message>
    <message>
        <source>Action</source>
        <translation>פעולה</translation>
    </message>
    <message>
        <source>Actions and their keys</source>
        <translation>פעולות והמקשים שלהן</translation>
    </message>
    <message>
        <source>All days of the week</source>
        <translation>כל ימות השבוע</translation>
    </message>
    <message>
        <source>An archive’s name ends in “.TYPE”. Choose a name without “.EXTENSION”.</source>
        <translation>שם של ארכיון מסתיים ב־“.TYPE”. בחרו שם בלי “.EXTENSION”.</translation>
    </message>
    <message>
        <source>An opened backup point is no longer there.</source>
        <translation>נקודת גיבוי פתוחה אינה קיימת עוד.</translation>
    </message>
    <message>
        <source>An operation is running</source>
        <translation>פעולה מתבצעת</translation>
    </message>
    <message>
        <source>An operation is running. Wait for its end, or stop it.</source>
        <translation>פעולה מתבצעת. המתינו לסיומה או עצרו אותה.</translation>
    </message>
    <message>
        <source>Archive path not set</source>
        <translation>לא נבחר מיקום לארכיון</translation>
    </message>
    <message>
        <source>At:</source>
        <translation>בשעה:</translation>
    </message>
    <message>
        <source>Auto-Protection</source>
        <translation>הגנה אוטומטית</translation>
    </message>
    <message>
        <source>Auto-Protection: </source>
        <translation>הגנה אוטומטית: </translation>
    </message>
    <message>
        <source>Available</source>
        <translation>פנוי</translation>
    </message>
    <message>
        <source>Back up by itself, without being asked to.</source>
        <translation>לגבות מעצמה, בלי שצריך לבקש.</translation>
    </message>
    <message>
        <source>Back up:</source>
        <translation>גיבוי:</translation>
    </message>
    <message>
        <source>Backing up</source>
        <translation>מתבצע גיבוי</translation>
    </message>
    <message>
        <source>Backing up SOURCE → TARGET</source>
        <translation>גיבוי: SOURCE ← TARGET</translation>
    </message>
    <message>
        <source>Backs up by itself at the times you choose.</source>
        <translation>מגבה מעצמה במועדים שבחרת.</translation>
    </message>
    <message>
        <source>Backs up the Windows side of a dual-boot disk, and puts it back.</source>
        <translation>מגבה את חלק ה־Windows של דיסק בעל אתחול כפול ומשחזר אותו.</translation>
    </message>
    <message>
        <source>Backup &amp;Points</source>
        <translation>נקודות גי&amp;בוי</translation>
    </message>
    <message>
        <source>Backup Po&amp;int</source>
        <translation>&amp;נקודת גיבוי</translation>
    </message>
    <message>
        <source>Backup archives</source>
        <translation>ארכיוני גיבוי</translation>
    </message>
    <message>
        <source>Backup points are open. Close them and quit?</source>
        <translation>יש נקודות גיבוי פתוחות. לסגור אותן ולצאת?</translation>
    </message>
    <message>
        <source>Backup points, oldest first</source>
        <translation>נקודות גיבוי, מהישנה לחדשה</translation>
    </message>
    <message>
        <source>Bad index</source>
        <translation>בחירה לא חוקית</translation>
    </message>
    <message>
        <source>Bad target disk</source>
        <translation>דיסק היעד אינו מתאים</translation>
    </message>
    <message>
        <source>Best on another disk than Windows itself.</source>
        <translation>מומלץ בדיסק אחר מזה של Windows.</translation>
    </message>
    <message>
        <source>Both become one backup point, which holds what the newer one holds:
NEWER

The older one can then no longer be restored on its own:
OLDER</source>
        <translation>שתיהן יהפכו לנקודת גיבוי אחת, ובה תוכן הנקודה החדשה יותר:
NEWER

את הנקודה הישנה יותר לא יהיה אפשר עוד לשחזר בפני עצמה:
OLDER</translation>
    </message>
    <message>
        <source>C&amp;ollect</source>
        <translation>&amp;איסוף</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>ביטול</translation>
    </message>
    <message>
        <source>Change Sc&amp;hedule…</source>
        <translation>שינוי ה&amp;תזמון…</translation>
    </message>
    <message>
        <source>Change Schedule</source>
        <translation>שינוי התזמון</translation>
    </message>
    <message>
        <source>Change…</source>
        <translation>שינוי…</translation>
    </message>
    <message>
        <source>Check for &amp;Updates…</source>
        <translation>בדיקת &amp;עדכונים…</translation>
    </message>
    <message>
        <source>Choose</source>
        <translation>בחירה</translation>
    </message>
    <message>
        <source>Choose &amp;Disk…</source>
        <translation>בחירת &amp;דיסק…</translation>
    </message>
    <message>
        <source>Choose L&amp;ocation…</source>
        <translation>בחירת מיקו&amp;ם…</translation>
    </message>
    <message>
        <source>Choose the Windows disk to protect</source>
        <translation>בחרו את דיסק Windows שיש להגן עליו</translation>
    </message>
    <message>
        <source>Choose the Windows disk to protect first.</source>
        <translation>בחרו תחילה את דיסק Windows שיש להגן עליו.</translation>
    </message>
    <message>
        <source>Choose the disk to restore Windows to</source>
        <translation>בחרו את הדיסק שאליו ישוחזר Windows</translation>
    </message>
    <message>
        <source>Choose the disk whose Windows side is to be backed up</source>
        <translation>בחרו את הדיסק שחלק ה־Windows שלו יגובה</translation>
    </message>
    <message>
        <source>Choose where to keep the backups</source>
        <translation>בחרו היכן יישמרו הגיבויים</translation>
    </message>
    <message>
        <source>Choose where to keep the backups first.</source>
        <translation>בחרו תחילה היכן יישמרו הגיבויים.</translation>
    </message>
    <message>
        <source>Close and &amp;Quit</source>
        <translation>סגירה ו&amp;יציאה</translation>
    </message>
    <message>
        <source>Collect &amp;Logs…</source>
        <translation>איסוף &amp;יומנים…</translation>
    </message>
    <message>
        <source>Collect Logs</source>
        <translation>איסוף יומנים</translation>
    </message>
    <message>
        <source>Collect logs for finding a fault</source>
        <translation>איסוף יומנים לאיתור תקלה</translation>
    </message>
    <message>
        <source>Collecting. This takes a few minutes.</source>
        <translation>איסוף מתבצע. זה אורך כמה דקות.</translation>
    </message>
    <message>
        <source>Date</source>
        <translation>תאריך</translation>
    </message>
    <message>
        <source>Day of the month</source>
        <translation>היום בחודש</translation>
    </message>
    <message>
        <source>Day of the week</source>
        <translation>היום בשבוע</translation>
    </message>
    <message>
        <source>Disable</source>
        <translation>כיבוי</translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation>כבויה</translation>
    </message>
    <message>
        <source>Disk not found</source>
        <translation>הדיסק לא נמצא</translation>
    </message>
    <message>
        <source>Disk without a name</source>
        <translation>דיסק ללא שם</translation>
    </message>
    <message>
        <source>Disks</source>
        <translation>דיסקים</translation>
    </message>
    <message>
        <source>Disks and archive are being read. This takes a moment.</source>
        <translation>הדיסקים והארכיון נקראים. זה יימשך רגע.</translation>
    </message>
    <message>
        <source>Elapsed</source>
        <translation>חלף</translation>
    </message>
    <message>
        <source>Enable</source>
        <translation>הפעלה</translation>
    </message>
    <message>
        <source>Enable Auto-Protection first.</source>
        <translation>יש להפעיל תחילה את ההגנה האוטומטית.</translation>
    </message>
    <message>
        <source>Enabled</source>
        <translation>פעילה</translation>
    </message>
    <message>
        <source>Error of the last backup</source>
        <translation>שגיאת הגיבוי האחרון</translation>
    </message>
    <message>
        <source>Every DAY of the month</source>
        <translation>בכל DAY בחודש</translation>
    </message>
    <message>
        <source>Every day</source>
        <translation>בכל יום</translation>
    </message>
    <message>
        <source>Every friday</source>
        <translation>בכל יום שישי</translation>
    </message>
    <message>
        <source>Every monday</source>
        <translation>בכל יום שני</translation>
    </message>
    <message>
        <source>Every month</source>
        <translation>בכל חודש</translation>
    </message>
    <message>
        <source>Every saturday</source>
        <translation>בכל שבת</translation>
    </message>
    <message>
        <source>Every sunday</source>
        <translation>בכל יום ראשון</translation>
    </message>
    <message>
        <source>Every thursday</source>
        <translation>בכל יום חמישי</translation>
    </message>
    <message>
        <source>Every tuesday</source>
        <translation>בכל יום שלישי</translation>
    </message>
    <message>
        <source>Every wednesday</source>
        <translation>בכל יום רביעי</translation>
    </message>
    <message>
        <source>Every week</source>
        <translation>בכל שבוע</translation>
    </message>
    <message>
        <source>Everything else in it is open.</source>
        <translation>כל שאר תוכנה פתוח.</translation>
    </message>
    <message>
        <source>Everything on DISK will be erased.</source>
        <translation>כל מה שבדיסק DISK יימחק.</translation>
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
        <translation>סוג קובץ:</translation>
    </message>
    <message>
        <source>First backup:</source>
        <translation>גיבוי ראשון:</translation>
    </message>
    <message>
        <source>Full</source>
        <translation>מלאה</translation>
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
        <translation>תדירות הגיבוי</translation>
    </message>
    <message>
        <source>Increment</source>
        <translation>תוספת</translation>
    </message>
    <message>
        <source>Its Windows side is what is backed up.</source>
        <translation>מה שמגובה הוא חלק ה־Windows שלו.</translation>
    </message>
    <message>
        <source>Keyboard Shortcuts</source>
        <translation>קיצורי מקשים</translation>
    </message>
    <message>
        <source>Keys</source>
        <translation>מקשים</translation>
    </message>
    <message>
        <source>Kind</source>
        <translation>סוג</translation>
    </message>
    <message>
        <source>Label</source>
        <translation>תווית</translation>
    </message>
    <message>
        <source>Last backup:</source>
        <translation>גיבוי אחרון:</translation>
    </message>
    <message>
        <source>Log of the running operation</source>
        <translation>יומן הפעולה המתבצעת</translation>
    </message>
    <message>
        <source>Look in:</source>
        <translation>חיפוש ב:</translation>
    </message>
    <message>
        <source>Merge this backup point into the one before it?</source>
        <translation>למזג את נקודת הגיבוי הזאת עם הנקודה שלפניה?</translation>
    </message>
    <message>
        <source>Merging SOURCE → TARGET</source>
        <translation>מיזוג: SOURCE ← TARGET</translation>
    </message>
    <message>
        <source>Merging backup points</source>
        <translation>נקודות גיבוי מתמזגות</translation>
    </message>
    <message>
        <source>Mi&amp;nimize</source>
        <translation>מ&amp;זעור</translation>
    </message>
    <message>
        <source>Months without that day are skipped.</source>
        <translation>חודשים בלי היום הזה מדולגים.</translation>
    </message>
    <message>
        <source>Most increments kept</source>
        <translation>מספר התוספות המרבי שנשמר</translation>
    </message>
    <message>
        <source>NTFS</source>
        <translation>NTFS</translation>
    </message>
    <message>
        <source>Name of the archive</source>
        <translation>שם הארכיון</translation>
    </message>
    <message>
        <source>No archive target directory</source>
        <translation>תיקיית היעד של הארכיון חסרה</translation>
    </message>
    <message>
        <source>No backup point is open.</source>
        <translation>אין נקודת גיבוי פתוחה.</translation>
    </message>
    <message>
        <source>No backup points yet. Choose the Windows disk to protect, then where to keep the backups.</source>
        <translation>אין עדיין נקודות גיבוי. בחרו את דיסק Windows שיש להגן עליו, ואחר כך היכן יישמרו הגיבויים.</translation>
    </message>
    <message>
        <source>No backup points yet. Choose where to keep the backups.</source>
        <translation>אין עדיין נקודות גיבוי. בחרו היכן יישמרו הגיבויים.</translation>
    </message>
    <message>
        <source>No backup points yet. The first backup makes the first one.</source>
        <translation>אין עדיין נקודות גיבוי. הגיבוי הראשון ייצור את הראשונה.</translation>
    </message>
    <message>
        <source>No description</source>
        <translation>אין תיאור</translation>
    </message>
    <message>
        <source>No disk can take this backup.</source>
        <translation>אין דיסק שיכול לקלוט את הגיבוי הזה.</translation>
    </message>
    <message>
        <source>No disk chosen</source>
        <translation>לא נבחר דיסק</translation>
    </message>
    <message>
        <source>No disk with a Windows installation was found.</source>
        <translation>לא נמצא דיסק שמותקן בו Windows.</translation>
    </message>
    <message>
        <source>No location chosen</source>
        <translation>לא נבחר מיקום</translation>
    </message>
    <message>
        <source>No operation is running.</source>
        <translation>לא מתבצעת פעולה.</translation>
    </message>
    <message>
        <source>No progress since TIME</source>
        <translation>אין התקדמות מאז TIME</translation>
    </message>
    <message>
        <source>None</source>
        <translation>אין</translation>
    </message>
    <message>
        <source>Not enough free space. Need: NEED, have: HAVE.</source>
        <translation>אין די מקום פנוי. נדרש: NEED, קיים: HAVE.</translation>
    </message>
    <message>
        <source>Not pinned</source>
        <translation>לא מוצמדת</translation>
    </message>
    <message>
        <source>OPERATION: NUMBER %</source>
        <translation>OPERATION: NUMBER%</translation>
    </message>
    <message>
        <source>On:</source>
        <translation>ביום:</translation>
    </message>
    <message>
        <source>Ope&amp;n</source>
        <translation>&amp;פתיחה</translation>
    </message>
    <message>
        <source>Other programs can then no longer read their files. The backups stay as they are.</source>
        <translation>תוכניות אחרות לא יוכלו עוד לקרוא את הקבצים שלהן. הגיבויים נשארים כפי שהם.</translation>
    </message>
    <message>
        <source>Part of the backup point cannot be shown.</source>
        <translation>חלק מנקודת הגיבוי אינו ניתן להצגה.</translation>
    </message>
    <message>
        <source>Percent done</source>
        <translation>אחוז שהושלם</translation>
    </message>
    <message>
        <source>Pin this backup point</source>
        <translation>הצמדת נקודת הגיבוי הזאת</translation>
    </message>
    <message>
        <source>Pinned</source>
        <translation>מוצמדת</translation>
    </message>
    <message>
        <source>Progress</source>
        <translation>התקדמות</translation>
    </message>
    <message>
        <source>ReFS</source>
        <translation>ReFS</translation>
    </message>
    <message>
        <source>Ready to back up</source>
        <translation>מוכן לגיבוי</translation>
    </message>
    <message>
        <source>Ready. Last backup: DATE</source>
        <translation>מוכן. גיבוי אחרון: DATE</translation>
    </message>
    <message>
        <source>Ready. There is no backup yet.</source>
        <translation>מוכן. אין עדיין גיבוי.</translation>
    </message>
    <message>
        <source>Remaining</source>
        <translation>נותר</translation>
    </message>
    <message>
        <source>Restore</source>
        <translation>שחזור</translation>
    </message>
    <message>
        <source>Restoring</source>
        <translation>מתבצע שחזור</translation>
    </message>
    <message>
        <source>Restoring SOURCE → TARGET</source>
        <translation>שחזור: SOURCE ← TARGET</translation>
    </message>
    <message>
        <source>SCHEDULE_DATE at SCHEDULE_TIME</source>
        <translation>SCHEDULE_DATE בשעה SCHEDULE_TIME</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>שמירה</translation>
    </message>
    <message>
        <source>Schedule</source>
        <translation>תזמון</translation>
    </message>
    <message>
        <source>Select</source>
        <translation>בחירה</translation>
    </message>
    <message>
        <source>Select &amp;All</source>
        <translation>בחירת ה&amp;כול</translation>
    </message>
    <message>
        <source>Select a backup point first.</source>
        <translation>בחרו תחילה נקודת גיבוי.</translation>
    </message>
    <message>
        <source>Select one backup point only.</source>
        <translation>בחרו נקודת גיבוי אחת בלבד.</translation>
    </message>
    <message>
        <source>Service is busy</source>
        <translation>השירות עסוק</translation>
    </message>
    <message>
        <source>Show Lo&amp;g</source>
        <translation>&amp;הצגת היומן</translation>
    </message>
    <message>
        <source>Show the s&amp;tatus icon</source>
        <translation>הצגת &amp;סמל המצב</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>גודל</translation>
    </message>
    <message>
        <source>Size of the restored Windows partition</source>
        <translation>גודל מחיצת Windows המשוחזרת</translation>
    </message>
    <message>
        <source>Size:</source>
        <translation>גודל:</translation>
    </message>
    <message>
        <source>Something else is still being done. Wait until it is finished, then try again.</source>
        <translation>פעולה אחרת עדיין מתבצעת. המתינו לסיומה ונסו שוב.</translation>
    </message>
    <message>
        <source>Source disk not set</source>
        <translation>לא נבחר דיסק לגיבוי</translation>
    </message>
    <message>
        <source>Stopping…</source>
        <translation>נעצר…</translation>
    </message>
    <message>
        <source>Success</source>
        <translation>הצלחה</translation>
    </message>
    <message>
        <source>The archive stays on this computer until you pass it on yourself. It names disks, files and programs of yours, but holds nothing of what is in your backups.</source>
        <translation>הארכיון נשאר במחשב הזה עד שתעבירו אותו בעצמכם. הוא מזכיר כוננים, קבצים ותוכנות שלכם, אך אין בו דבר ממה שבגיבויים.</translation>
    </message>
    <message>
        <source>The backup helper is not running.</source>
        <translation>שירות העזר אינו פועל.</translation>
    </message>
    <message>
        <source>The backup helper is not running. What is shown may be out of date; the connection is made again as soon as the helper is back.</source>
        <translation>שירות העזר אינו פועל. ייתכן שהמוצג אינו מעודכן; החיבור יתחדש מיד כשהשירות יחזור לפעול.</translation>
    </message>
    <message>
        <source>The backup point before it is pinned, and nothing is merged into that.</source>
        <translation>נקודת הגיבוי שלפניה מוצמדת, ואין ממזגים דבר לתוכה.</translation>
    </message>
    <message>
        <source>The backup points cannot be read now. Connect the disk on which they are kept.</source>
        <translation>לא ניתן לקרוא כעת את נקודות הגיבוי. חברו את הדיסק שבו הן שמורות.</translation>
    </message>
    <message>
        <source>The backups at this place are of another disk.</source>
        <translation>הגיבויים במקום זה הם של דיסק אחר.</translation>
    </message>
    <message>
        <source>The backups cannot be reached now</source>
        <translation>לא ניתן להגיע כעת אל הגיבויים</translation>
    </message>
    <message>
        <source>The choice is no longer possible: it is out of range, or the backup points have changed since. Look at the list and choose again.</source>
        <translation>הבחירה כבר אינה אפשרית: היא מחוץ לתחום, או שנקודות הגיבוי השתנו בינתיים. בדקו את הרשימה ובחרו שוב.</translation>
    </message>
    <message>
        <source>The disk is not connected any more, or its Windows side is gone. Connect it and choose it again.</source>
        <translation>הדיסק אינו מחובר עוד, או שחלק ה־Windows שלו נעלם. חברו אותו ובחרו בו שוב.</translation>
    </message>
    <message>
        <source>The disk that is backed up is not connected.</source>
        <translation>הדיסק המגובה אינו מחובר.</translation>
    </message>
    <message>
        <source>The first backup point has none before it to be merged into.</source>
        <translation>לפני נקודת הגיבוי הראשונה אין נקודה שאפשר למזג אותה לתוכה.</translation>
    </message>
    <message>
        <source>The folder for the backups is not there or cannot be written to. Connect its disk, or choose another location.</source>
        <translation>תיקיית הגיבויים חסרה או שלא ניתן לכתוב אליה. חברו את הדיסק שלה או בחרו מיקום אחר.</translation>
    </message>
    <message>
        <source>The helper has not answered yet.</source>
        <translation>שירות העזר טרם השיב.</translation>
    </message>
    <message>
        <source>The helper is busy</source>
        <translation>שירות העזר עסוק</translation>
    </message>
    <message>
        <source>The helper is not answering</source>
        <translation>שירות העזר אינו משיב</translation>
    </message>
    <message>
        <source>The helper refused for a reason that this version of the program does not know. Its log may tell more.</source>
        <translation>שירות העזר סירב מסיבה שגרסה זו של התוכנית אינה מכירה. ייתכן שיש ביומן שלו פרטים נוספים.</translation>
    </message>
    <message>
        <source>The last backup failed:</source>
        <translation>הגיבוי האחרון נכשל:</translation>
    </message>
    <message>
        <source>The last backup failed: REASON</source>
        <translation>הגיבוי האחרון נכשל: REASON</translation>
    </message>
    <message>
        <source>The log of a backup is shown here while it runs.</source>
        <translation>יומן הגיבוי יוצג כאן בזמן הגיבוי.</translation>
    </message>
    <message>
        <source>The older of the two can then no longer be restored on its own.</source>
        <translation>את הישנה מבין השתיים לא יהיה אפשר עוד לשחזר בפני עצמה.</translation>
    </message>
    <message>
        <source>The open backup points are being closed.</source>
        <translation>נקודות הגיבוי הפתוחות נסגרות.</translation>
    </message>
    <message>
        <source>The operation could not be completed</source>
        <translation>לא ניתן היה להשלים את הפעולה</translation>
    </message>
    <message>
        <source>The operation is being stopped.</source>
        <translation>הפעולה נעצרת.</translation>
    </message>
    <message>
        <source>The place of the backups cannot be reached.</source>
        <translation>אין גישה למקום הגיבויים.</translation>
    </message>
    <message>
        <source>The place where the backups are kept cannot be reached now.</source>
        <translation>לא ניתן להגיע כעת אל המיקום שבו נשמרים הגיבויים.</translation>
    </message>
    <message>
        <source>The status icon is not installed.</source>
        <translation>סמל המצב אינו מותקן.</translation>
    </message>
    <message>
        <source>The Windows partition (SIZE) on DISK will be replaced. The rest of the disk stays.</source>
        <translation>מחיצת Windows (SIZE) בדיסק DISK תוחלף. שאר הדיסק יישאר כפי שהוא.</translation>
    </message>
    <message>
        <source>There is nothing to do.</source>
        <translation>אין מה לעשות.</translation>
    </message>
    <message>
        <source>This archive was made from another disk</source>
        <translation>ארכיון זה נוצר מדיסק אחר</translation>
    </message>
    <message>
        <source>This disk cannot take the backup: it is too small, or it is divided in a way that leaves no place for Windows. Choose another disk.</source>
        <translation>הדיסק הזה אינו יכול לקלוט את הגיבוי: הוא קטן מדי, או שחלוקתו אינה מותירה מקום ל־Windows. בחרו דיסק אחר.</translation>
    </message>
    <message>
        <source>This version of ZPK cannot open backup points.</source>
        <translation>גרסה זו של ZPK אינה יכולה לפתוח נקודות גיבוי.</translation>
    </message>
    <message>
        <source>Time of day</source>
        <translation>השעה</translation>
    </message>
    <message>
        <source>U&amp;ninstall ZPK…</source>
        <translation>&amp;הסרת ZPK…</translation>
    </message>
    <message>
        <source>USED used, FREE free</source>
        <translation>USED בשימוש, FREE פנויים</translation>
    </message>
    <message>
        <source>Un&amp;pin</source>
        <translation>ביטול &amp;הצמדה</translation>
    </message>
    <message>
        <source>Unformatted</source>
        <translation>לא מאותחל</translation>
    </message>
    <message>
        <source>Used space of the disks when the backup point was made</source>
        <translation>המקום התפוס בדיסקים כשנוצרה נקודת הגיבוי</translation>
    </message>
    <message>
        <source>Version</source>
        <translation>גרסה</translation>
    </message>
    <message>
        <source>Wait a moment and open it again. If it stays silent, end it first.</source>
        <translation>המתינו רגע ופתחו את התוכנית שוב. אם היא עדיין אינה מגיבה, סיימו אותה תחילה.</translation>
    </message>
    <message>
        <source>Waiting for the helper…</source>
        <translation>ממתין לשירות העזר…</translation>
    </message>
    <message>
        <source>What showed its files has ended unexpectedly. The backup itself is not changed; open it again to go on.</source>
        <translation>התוכנית שהציגה את הקבצים שלה הסתיימה באופן בלתי צפוי. הגיבוי עצמו לא השתנה; יש לפתוח אותו שוב כדי להמשיך.</translation>
    </message>
    <message>
        <source>Where the backups are kept</source>
        <translation>המקום שבו נשמרים הגיבויים</translation>
    </message>
    <message>
        <source>Where to keep the backups</source>
        <translation>היכן יישמרו הגיבויים</translation>
    </message>
    <message>
        <source>Windows (SIZE)</source>
        <translation>Windows (SIZE)</translation>
    </message>
    <message>
        <source>Windows Backup</source>
        <translation>גיבוי Windows</translation>
    </message>
    <message>
        <source>Windows disk to protect</source>
        <translation>דיסק Windows שיש להגן עליו</translation>
    </message>
    <message>
        <source>Windows on NAME (SIZE)</source>
        <translation>Windows ב־NAME (SIZE)</translation>
    </message>
    <message>
        <source>Working</source>
        <translation>בפעולה</translation>
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
        <translation>לא ניתן היה להפעיל את ZPK.</translation>
    </message>
    <message>
        <source>ZPK is removed with the system’s package manager.</source>
        <translation>את ZPK מסירים בעזרת מנהל החבילות של המערכת.</translation>
    </message>
    <message>
        <source>ZPK is running already, but it does not answer.</source>
        <translation>ZPK כבר פועל, אך אינו מגיב.</translation>
    </message>
    <message>
        <source>ZPK is updated by the system’s package manager.</source>
        <translation>ZPK מתעדכן בידי מנהל החבילות של המערכת.</translation>
    </message>
    <message>
        <source>ZPK puts its own logs, those of its helper and of the system, and a list of the disks into one archive and shows you where it is. Whoever looks into a fault sees from it what has happened.</source>
        <translation>ZPK אוסף לארכיון אחד את היומנים שלו, של העוזר שלו ושל המערכת ואת רשימת הכוננים, ומציג היכן הארכיון נמצא. מי שבודק תקלה רואה מתוכו מה קרה.</translation>
    </message>
    <message>
        <source>ZPK quits when the logs are collected.</source>
        <translation>ZPK ייסגר כשהיומנים ייאספו.</translation>
    </message>
    <message>
        <source>empty</source>
        <translation>ריק</translation>
    </message>
    <message>
        <source>exFAT</source>
        <translation>exFAT</translation>
    </message>
    <message>
        <source>mounted at</source>
        <translation>מחובר ב־</translation>
    </message>
    <message>
        <source>“NAME”</source>
        <translation>”NAME“</translation>
    </message>
    <message>
        <source>“NAME” (DEVICE)</source>
        <translation>”NAME“ (DEVICE)</translation>
    </message>
    <message>
        <source>“NAME” holds backup points of another disk. Backing up adds a backup point of the disk that you have chosen to it. The backup points of the other disk stay as they are.

To keep the two apart, cancel and choose another location.</source>
        <translation>”NAME“ מכיל נקודות גיבוי של דיסק אחר. הגיבוי יוסיף אליו נקודת גיבוי של הדיסק שבחרתם. נקודות הגיבוי של הדיסק האחר יישארו כפי שהן.

כדי להפריד בין השניים, בטלו ובחרו מיקום אחר.</translation>
    </message>
    <message>
        <source>“PARTITION” (SIZE) on DISK will be replaced. The rest of the disk stays.</source>
        <translation>המחיצה ”PARTITION“ (SIZE) בדיסק DISK תוחלף. שאר הדיסק יישאר כפי שהוא.</translation>
    </message>
</context>
</TS>
