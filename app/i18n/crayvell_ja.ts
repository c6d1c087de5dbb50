<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ja" sourcelanguage="en_US">
<context>
    <name>HelpDialog</name>
    <message>
        <source>Help</source>
        <translation>ヘルプ</translation>
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
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;お客様へ&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;このたびは &lt;/span&gt;&lt;span style=&quot; font-size:8pt; font-weight:600;&quot;&gt;Crayvell&lt;/span&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt; に関心をお寄せいただき、ありがとうございます。素敵なスケッチを作るお手伝いができれば幸いです。操作はとても簡単なので、ヘルプはおそらく必要ないでしょう。&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;［開く］で写真を開き、［保存］でスケッチを保存します。&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;［スケッチを作成］&lt;/span&gt;&lt;img src=&quot;:/icons/FormRunHS.png&quot; /&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;を実行すると、写真がスケッチに変わります。ツールバーの下にある 2 つのスライダーで、スケッチの濃さを調整できます。&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot;-qt-paragraph-type:empty; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px; font-size:8pt;&quot;&gt;&lt;br /&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:10pt;&quot;&gt;その他の情報&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;TarnSoftware のホームページ &lt;/span&gt;&lt;a href=&quot;%1&quot;&gt;&lt;span style=&quot; font-size:8pt; text-decoration: underline; color:#0000ff;&quot;&gt;%1&lt;/span&gt;&lt;/a&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt; では、ビデオチュートリアルや、本製品とその他の製品に関する記事など、詳しい情報をご覧いただけます。ぜひお越しください。&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;当社では、特に時間のかかるレタッチ作業を簡単にする写真編集ツールをいくつか提供しています。写真の仕上げにお役立ていただければ幸いです。&lt;/span&gt;&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
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
        <translation>黒レベル</translation>
    </message>
    <message>
        <source>white level</source>
        <translation>白レベル</translation>
    </message>
    <message>
        <source>Picture</source>
        <translation>画像</translation>
    </message>
    <message>
        <source>File</source>
        <translation>ファイル(&amp;F)</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>ヘルプ(&amp;H)</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>開く(&amp;O)</translation>
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
        <translation>名前を付けて保存</translation>
    </message>
    <message>
        <source>Ctrl+S</source>
        <translation>Ctrl+S</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>終了(&amp;Q)</translation>
    </message>
    <message>
        <source>Ctrl+Q</source>
        <translation>Ctrl+Q</translation>
    </message>
    <message>
        <source>Index</source>
        <translation>目次(&amp;C)</translation>
    </message>
    <message>
        <source>About</source>
        <translation>Crayvell について(&amp;A)</translation>
    </message>
    <message>
        <source>ZoomPlus</source>
        <translation>拡大</translation>
    </message>
    <message>
        <source>Zoom In</source>
        <translation>拡大</translation>
    </message>
    <message>
        <source>ZoomMinus</source>
        <translation>縮小</translation>
    </message>
    <message>
        <source>Zoom Out</source>
        <translation>縮小</translation>
    </message>
    <message>
        <source>Select</source>
        <translation>選択</translation>
    </message>
    <message>
        <source>Autodetect Wires</source>
        <translation>電線を自動検出</translation>
    </message>
    <message>
        <source>LocalSelect</source>
        <translation>部分選択</translation>
    </message>
    <message>
        <source>Process</source>
        <translation>スケッチを作成</translation>
    </message>
    <message>
        <source>Create sketch</source>
        <translation>スケッチを作成</translation>
    </message>
    <message>
        <source>SmartSelect</source>
        <translation>スマート選択</translation>
    </message>
    <message>
        <source>Smart Select</source>
        <translation>スマート選択</translation>
    </message>
    <message>
        <source>Home</source>
        <translation>ホームページ</translation>
    </message>
    <message>
        <source>Visit our homepage!
Visit our homepage now to get 
the lates versions of our digital photo 
software products(a new web browser 
will be opened)</source>
        <translation>ホームページをご覧ください！
デジタル写真ソフトウェアの最新版を
入手できます
(新しいウェブブラウザーが開きます)</translation>
    </message>
    <message>
        <source>Open Image</source>
        <translation>画像を開く</translation>
    </message>
    <message>
        <source>Image Files (*.png *.jpg *.bmp *.jpeg *.tiff *.tif *.gif);;All files (*.*)</source>
        <translation>画像ファイル (*.png *.jpg *.bmp *.jpeg *.tiff *.tif *.gif);;すべてのファイル (*.*)</translation>
    </message>
    <message>
        <source>No file selected</source>
        <translation>ファイルが選択されていません</translation>
    </message>
    <message>
        <source>Failed to read image</source>
        <translation>画像を読み込めませんでした</translation>
    </message>
    <message>
        <source>Save Image</source>
        <translation>画像を保存</translation>
    </message>
    <message>
        <source>JPG Files (*.jpg);;PNG Files (*.png)</source>
        <translation>JPG ファイル (*.jpg);;PNG ファイル (*.png)</translation>
    </message>
    <message>
        <source>Crayvell 2.0</source>
        <translation>Crayvell 2.0</translation>
    </message>
    <message>
        <source>Pencil sketches by Dellumbra software
https://www.dellumbra.example/</source>
        <translation>Dellumbra software の鉛筆スケッチ
https://www.dellumbra.example/</translation>
    </message>
    <message>
        <source>Progress</source>
        <translation>進行状況</translation>
    </message>
    <message>
        <source>No photo is open</source>
        <translation>写真が開かれていません</translation>
    </message>
    <message>
        <source>Photo %1, %2 by %3 pixels</source>
        <translation>写真 %1、%2 × %3 ピクセル</translation>
    </message>
    <message>
        <source>Sketch of %1, %2 by %3 pixels</source>
        <translation>%1 のスケッチ、%2 × %3 ピクセル</translation>
    </message>
</context>
</TS>
