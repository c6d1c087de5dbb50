<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN" sourcelanguage="en_US">
<context>
    <name>HelpDialog</name>
    <message>
        <source>Help</source>
        <translation>帮助</translation>
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
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;尊敬的客户：&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;感谢您关注 &lt;/span&gt;&lt;span style=&quot; font-size:8pt; font-weight:600;&quot;&gt;Crayvell&lt;/span&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;。希望它能为您带来便利，帮助您创作出色的素描。界面非常简单，您可能根本不需要帮助。&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;使用“打开”和“保存”命令可以打开照片、保存素描。&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;“生成素描”命令&lt;/span&gt;&lt;img src=&quot;:/icons/FormRunHS.png&quot; /&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;可将照片转换为素描。使用工具栏下方的两个滑块可以调整素描的深浅。&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot;-qt-paragraph-type:empty; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px; font-size:8pt;&quot;&gt;&lt;br /&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:10pt;&quot;&gt;其他信息来源&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;欢迎随时访问 TarnSoftware 主页 &lt;/span&gt;&lt;a href=&quot;%1&quot;&gt;&lt;span style=&quot; font-size:8pt; text-decoration: underline; color:#0000ff;&quot;&gt;%1&lt;/span&gt;&lt;/a&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;，您可以在那里找到更多信息，包括视频教程以及有关本产品和我们其他产品的文章。&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;我们提供多种照片编辑工具，可简化最耗时的修图工作，希望其中一些能对您的照片后期处理有所帮助。&lt;/span&gt;&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>确定</translation>
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
        <translation>黑场</translation>
    </message>
    <message>
        <source>white level</source>
        <translation>白场</translation>
    </message>
    <message>
        <source>Picture</source>
        <translation>图片</translation>
    </message>
    <message>
        <source>File</source>
        <translation>文件(&amp;F)</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>帮助(&amp;H)</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>打开(&amp;O)</translation>
    </message>
    <message>
        <source>Ctrl+O</source>
        <translation>Ctrl+O</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>保存(&amp;S)</translation>
    </message>
    <message>
        <source>Save As</source>
        <translation>另存为</translation>
    </message>
    <message>
        <source>Ctrl+S</source>
        <translation>Ctrl+S</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>退出(&amp;Q)</translation>
    </message>
    <message>
        <source>Ctrl+Q</source>
        <translation>Ctrl+Q</translation>
    </message>
    <message>
        <source>Index</source>
        <translation>目录(&amp;C)</translation>
    </message>
    <message>
        <source>About</source>
        <translation>关于 Crayvell(&amp;A)</translation>
    </message>
    <message>
        <source>ZoomPlus</source>
        <translation>放大</translation>
    </message>
    <message>
        <source>Zoom In</source>
        <translation>放大</translation>
    </message>
    <message>
        <source>ZoomMinus</source>
        <translation>缩小</translation>
    </message>
    <message>
        <source>Zoom Out</source>
        <translation>缩小</translation>
    </message>
    <message>
        <source>Select</source>
        <translation>选择</translation>
    </message>
    <message>
        <source>Autodetect Wires</source>
        <translation>自动检测电线</translation>
    </message>
    <message>
        <source>LocalSelect</source>
        <translation>局部选择</translation>
    </message>
    <message>
        <source>Process</source>
        <translation>生成素描</translation>
    </message>
    <message>
        <source>Create sketch</source>
        <translation>生成素描</translation>
    </message>
    <message>
        <source>SmartSelect</source>
        <translation>智能选择</translation>
    </message>
    <message>
        <source>Smart Select</source>
        <translation>智能选择</translation>
    </message>
    <message>
        <source>Home</source>
        <translation>主页</translation>
    </message>
    <message>
        <source>Visit our homepage!
Visit our homepage now to get 
the lates versions of our digital photo 
software products(a new web browser 
will be opened)</source>
        <translation>欢迎访问我们的主页！
您可以在那里获取我们数码照片软件的
最新版本
（将打开新的浏览器窗口）</translation>
    </message>
    <message>
        <source>Open Image</source>
        <translation>打开图片</translation>
    </message>
    <message>
        <source>Image Files (*.png *.jpg *.bmp *.jpeg *.tiff *.tif *.gif);;All files (*.*)</source>
        <translation>图片文件 (*.png *.jpg *.bmp *.jpeg *.tiff *.tif *.gif);;所有文件 (*.*)</translation>
    </message>
    <message>
        <source>No file selected</source>
        <translation>未选择文件</translation>
    </message>
    <message>
        <source>Failed to read image</source>
        <translation>无法读取图片</translation>
    </message>
    <message>
        <source>Save Image</source>
        <translation>保存图片</translation>
    </message>
    <message>
        <source>JPG Files (*.jpg);;PNG Files (*.png)</source>
        <translation>JPG 文件 (*.jpg);;PNG 文件 (*.png)</translation>
    </message>
    <message>
        <source>Crayvell 2.0</source>
        <translation>Crayvell 2.0</translation>
    </message>
    <message>
        <source>Pencil sketches by Dellumbra software
https://www.dellumbra.example/</source>
        <translation>Dellumbra software 铅笔素描
https://www.dellumbra.example/</translation>
    </message>
    <message>
        <source>Progress</source>
        <translation>进度</translation>
    </message>
    <message>
        <source>No photo is open</source>
        <translation>未打开照片</translation>
    </message>
    <message>
        <source>Photo %1, %2 by %3 pixels</source>
        <translation>照片 %1，%2 × %3 像素</translation>
    </message>
    <message>
        <source>Sketch of %1, %2 by %3 pixels</source>
        <translation>%1 的素描，%2 × %3 像素</translation>
    </message>
</context>
</TS>
