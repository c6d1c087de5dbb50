<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ar" sourcelanguage="en_US">
<context>
    <name>HelpDialog</name>
    <message>
        <source>Help</source>
        <translation>مساعدة</translation>
    </message>
    <message>
        <source>&lt;html&gt;&lt;head&gt;&lt;meta name=&quot;qrichtext&quot; content=&quot;1&quot; /&gt;&lt;style type=&quot;text/css&quot;&gt;
p, li { white-space: pre-wrap; }
&lt;/style&gt;&lt;/head&gt;&lt;body style=&quot; font-family:&apos;MS Shell Dlg 2&apos;; font-size:8.25pt; font-weight:400; font-style:normal;&quot;&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Dear customer!&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Thank you for you interest in&lt;/span&gt;&lt;span style=&quot; font-size:8pt; font-weight:600;&quot;&gt; Crayvell&lt;/span&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;.  We hope it will serve you well and will help you make great sketches. The GUI is actually so simple you probably won&apos;t need any help.&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Use Open and Save commands to open photos and save sketches.&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;The Process command &lt;/span&gt;&lt;img src=&quot;:/icons/FormRunHS.png&quot; /&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;converts a photo to sketch and the slider under toolbar is used to change the sketch darkness. &lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot;-qt-paragraph-type:empty; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px; font-size:8pt;&quot;&gt;&lt;br /&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:10pt;&quot;&gt;Other sources of information&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;You are always welcome to the TarnSoftware homepage &lt;/span&gt;&lt;a href=&quot;%1&quot;&gt;&lt;span style=&quot; font-size:8pt; text-decoration: underline; color:#0000ff;&quot;&gt;%1&lt;/span&gt;&lt;/a&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt; where you can find more information including video tutorials and articles on this and other our products. &lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;We provide several photo editing tool that simplify the most time-consuming retouching tasks and hope you&apos;ll find some of them useful for you photography post processing process.&lt;/span&gt;&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</source>
        <extracomment>%1 is the address of the homepage</extracomment>
        <translation>&lt;html&gt;&lt;head&gt;&lt;meta name=&quot;qrichtext&quot; content=&quot;1&quot; /&gt;&lt;style type=&quot;text/css&quot;&gt;
p, li { white-space: pre-wrap; }
&lt;/style&gt;&lt;/head&gt;&lt;body style=&quot; font-family:&apos;MS Shell Dlg 2&apos;; font-size:8.25pt; font-weight:400; font-style:normal;&quot;&gt;
&lt;p dir=&quot;rtl&quot; style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;عزيزنا العميل،&lt;/span&gt;&lt;/p&gt;
&lt;p dir=&quot;rtl&quot; style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;شكرًا لاهتمامك ببرنامج&lt;/span&gt;&lt;span style=&quot; font-size:8pt; font-weight:600;&quot;&gt; Crayvell&lt;/span&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;. نأمل أن يكون مفيدًا لك وأن يساعدك على إنشاء رسوم رائعة. واجهة البرنامج بسيطة إلى درجة أنك لن تحتاج على الأرجح إلى أي مساعدة.&lt;/span&gt;&lt;/p&gt;
&lt;p dir=&quot;rtl&quot; style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;استخدم الأمرين «فتح» و«حفظ» لفتح الصور وحفظ الرسوم.&lt;/span&gt;&lt;/p&gt;
&lt;p dir=&quot;rtl&quot; style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;يحوّل الأمر «إنشاء رسم تخطيطي» &lt;/span&gt;&lt;img src=&quot;:/icons/FormRunHS.png&quot; /&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt; الصورة إلى رسم تخطيطي. وبالمنزلقين الموجودين أسفل شريط الأدوات يمكنك جعل الرسم أفتح أو أغمق.&lt;/span&gt;&lt;/p&gt;
&lt;p dir=&quot;rtl&quot; style=&quot;-qt-paragraph-type:empty; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px; font-size:8pt;&quot;&gt;&lt;br /&gt;&lt;/p&gt;
&lt;p dir=&quot;rtl&quot; style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:10pt;&quot;&gt;مصادر أخرى للمعلومات&lt;/span&gt;&lt;/p&gt;
&lt;p dir=&quot;rtl&quot; style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;نرحب بك دائمًا في موقع TarnSoftware‏: &lt;/span&gt;&lt;a href=&quot;%1&quot;&gt;&lt;span style=&quot; font-size:8pt; text-decoration: underline; color:#0000ff;&quot;&gt;%1&lt;/span&gt;&lt;/a&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;‎. ستجد فيه المزيد من المعلومات، ومنها دروس مرئية ومقالات عن هذا المنتج وعن منتجاتنا الأخرى.&lt;/span&gt;&lt;/p&gt;
&lt;p dir=&quot;rtl&quot; style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;نقدم عدة أدوات لتحرير الصور تبسّط أكثر أعمال التنقيح استهلاكًا للوقت، ونأمل أن يفيدك بعضها في معالجة صورك.&lt;/span&gt;&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>حسنًا</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Crayvell</source>
        <translation>Crayvell</translation>
    </message>
    <message>
        <source>black level</source>
        <translation>مستوى الأسود</translation>
    </message>
    <message>
        <source>white level</source>
        <translation>مستوى الأبيض</translation>
    </message>
    <message>
        <source>Picture</source>
        <translation>الصورة</translation>
    </message>
    <message>
        <source>File</source>
        <translation>&amp;ملف</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>م&amp;ساعدة</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>&amp;فتح</translation>
    </message>
    <message>
        <source>Ctrl+O</source>
        <translation>Ctrl+O</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>&amp;حفظ</translation>
    </message>
    <message>
        <source>Save As</source>
        <translation>حفظ باسم</translation>
    </message>
    <message>
        <source>Ctrl+S</source>
        <translation>Ctrl+S</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>إ&amp;نهاء</translation>
    </message>
    <message>
        <source>Ctrl+Q</source>
        <translation>Ctrl+Q</translation>
    </message>
    <message>
        <source>Index</source>
        <translation>ال&amp;محتويات</translation>
    </message>
    <message>
        <source>About</source>
        <translation>&amp;حول Crayvell</translation>
    </message>
    <message>
        <source>ZoomPlus</source>
        <translation>تكبير</translation>
    </message>
    <message>
        <source>Zoom In</source>
        <translation>تكبير</translation>
    </message>
    <message>
        <source>ZoomMinus</source>
        <translation>تصغير</translation>
    </message>
    <message>
        <source>Zoom Out</source>
        <translation>تصغير</translation>
    </message>
    <message>
        <source>Select</source>
        <translation>تحديد</translation>
    </message>
    <message>
        <source>Autodetect Wires</source>
        <translation>اكتشاف الأسلاك تلقائيًا</translation>
    </message>
    <message>
        <source>LocalSelect</source>
        <translation>تحديد موضعي</translation>
    </message>
    <message>
        <source>Process</source>
        <translation>إنشاء رسم تخطيطي</translation>
    </message>
    <message>
        <source>Create sketch</source>
        <translation>إنشاء رسم تخطيطي</translation>
    </message>
    <message>
        <source>SmartSelect</source>
        <translation>تحديد ذكي</translation>
    </message>
    <message>
        <source>Smart Select</source>
        <translation>تحديد ذكي</translation>
    </message>
    <message>
        <source>Home</source>
        <translation>موقعنا</translation>
    </message>
    <message>
        <source>Visit our homepage!
Visit our homepage now to get 
the lates versions of our digital photo 
software products(a new web browser 
will be opened)</source>
        <translation>تفضل بزيارة موقعنا!
ستجد فيه أحدث إصدارات برامجنا
للصور الرقمية
(ستُفتح نافذة جديدة في متصفح الويب)</translation>
    </message>
    <message>
        <source>Open Image</source>
        <translation>فتح صورة</translation>
    </message>
    <message>
        <source>Image Files (*.png *.jpg *.bmp *.jpeg *.tiff *.tif *.gif);;All files (*.*)</source>
        <translation>ملفات الصور ‎(*.png *.jpg *.bmp *.jpeg *.tiff *.tif *.gif);;كل الملفات (*.*)</translation>
    </message>
    <message>
        <source>No file selected</source>
        <translation>لم يُحدَّد أي ملف</translation>
    </message>
    <message>
        <source>Failed to read image</source>
        <translation>تعذرت قراءة الصورة</translation>
    </message>
    <message>
        <source>Save Image</source>
        <translation>حفظ الصورة</translation>
    </message>
    <message>
        <source>JPG Files (*.jpg);;PNG Files (*.png)</source>
        <translation>ملفات JPG (*.jpg);;ملفات PNG (*.png)</translation>
    </message>
    <message>
        <source>Crayvell 2.0</source>
        <translation>Crayvell 2.0</translation>
    </message>
    <message>
        <source>Pencil sketches by Dellumbra software
https://www.dellumbra.example/</source>
        <translation>رسوم بقلم الرصاص من Dellumbra software
https://www.dellumbra.example/</translation>
    </message>
    <message>
        <source>Progress</source>
        <translation>التقدم</translation>
    </message>
    <message>
        <source>No photo is open</source>
        <translation>لا توجد صورة مفتوحة</translation>
    </message>
    <message>
        <source>Photo %1, %2 by %3 pixels</source>
        <translation>الصورة %1، %2 في %3 بكسل</translation>
    </message>
    <message>
        <source>Sketch of %1, %2 by %3 pixels</source>
        <translation>رسم تخطيطي للصورة %1، %2 في %3 بكسل</translation>
    </message>
</context>
</TS>
