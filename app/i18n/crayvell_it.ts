<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="it" sourcelanguage="en_US">
<context>
    <name>HelpDialog</name>
    <message>
        <source>Help</source>
        <translation>Aiuto</translation>
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
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Gentile cliente,&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;grazie per l’interesse dimostrato per&lt;/span&gt;&lt;span style=&quot; font-size:8pt; font-weight:600;&quot;&gt; Crayvell&lt;/span&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;. Ci auguriamo che le sia utile e la aiuti a realizzare splendidi schizzi. L’interfaccia è così semplice che probabilmente non avrà bisogno di alcun aiuto.&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;I comandi «Apri» e «Salva» servono ad aprire le foto e a salvare gli schizzi.&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Il comando «Crea schizzo» &lt;/span&gt;&lt;img src=&quot;:/icons/FormRunHS.png&quot; /&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt; trasforma una foto in uno schizzo. Con i due cursori sotto la barra degli strumenti può renderlo più chiaro o più scuro.&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot;-qt-paragraph-type:empty; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px; font-size:8pt;&quot;&gt;&lt;br /&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:10pt;&quot;&gt;Altre fonti di informazione&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Sarà sempre il benvenuto sul sito web di TarnSoftware, &lt;/span&gt;&lt;a href=&quot;%1&quot;&gt;&lt;span style=&quot; font-size:8pt; text-decoration: underline; color:#0000ff;&quot;&gt;%1&lt;/span&gt;&lt;/a&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;, dove troverà ulteriori informazioni, tra cui videolezioni e articoli su questo e sugli altri nostri prodotti.&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Offriamo diversi strumenti di fotoritocco che semplificano le operazioni più lunghe e ci auguriamo che alcuni di essi le siano utili nell’elaborazione delle sue fotografie.&lt;/span&gt;&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</translation>
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
        <translation>Livello del nero</translation>
    </message>
    <message>
        <source>white level</source>
        <translation>Livello del bianco</translation>
    </message>
    <message>
        <source>Picture</source>
        <translation>Immagine</translation>
    </message>
    <message>
        <source>File</source>
        <translation>&amp;File</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>&amp;Aiuto</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>&amp;Apri</translation>
    </message>
    <message>
        <source>Ctrl+O</source>
        <translation>Ctrl+O</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>&amp;Salva</translation>
    </message>
    <message>
        <source>Save As</source>
        <translation>Salva con nome</translation>
    </message>
    <message>
        <source>Ctrl+S</source>
        <translation>Ctrl+S</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>&amp;Esci</translation>
    </message>
    <message>
        <source>Ctrl+Q</source>
        <translation>Ctrl+Q</translation>
    </message>
    <message>
        <source>Index</source>
        <translation>&amp;Sommario</translation>
    </message>
    <message>
        <source>About</source>
        <translation>&amp;Informazioni su Crayvell</translation>
    </message>
    <message>
        <source>ZoomPlus</source>
        <translation>Ingrandisci</translation>
    </message>
    <message>
        <source>Zoom In</source>
        <translation>Ingrandisci</translation>
    </message>
    <message>
        <source>ZoomMinus</source>
        <translation>Riduci</translation>
    </message>
    <message>
        <source>Zoom Out</source>
        <translation>Riduci</translation>
    </message>
    <message>
        <source>Select</source>
        <translation>Seleziona</translation>
    </message>
    <message>
        <source>Autodetect Wires</source>
        <translation>Rileva automaticamente i cavi</translation>
    </message>
    <message>
        <source>LocalSelect</source>
        <translation>Selezione locale</translation>
    </message>
    <message>
        <source>Process</source>
        <translation>Crea schizzo</translation>
    </message>
    <message>
        <source>Create sketch</source>
        <translation>Crea schizzo</translation>
    </message>
    <message>
        <source>SmartSelect</source>
        <translation>Selezione intelligente</translation>
    </message>
    <message>
        <source>Smart Select</source>
        <translation>Selezione intelligente</translation>
    </message>
    <message>
        <source>Home</source>
        <translation>Sito web</translation>
    </message>
    <message>
        <source>Visit our homepage!
Visit our homepage now to get 
the lates versions of our digital photo 
software products(a new web browser 
will be opened)</source>
        <translation>Visiti il nostro sito web!
Troverà le ultime versioni dei nostri
programmi per la fotografia digitale
(si aprirà una nuova finestra del browser)</translation>
    </message>
    <message>
        <source>Open Image</source>
        <translation>Apri immagine</translation>
    </message>
    <message>
        <source>Image Files (*.png *.jpg *.bmp *.jpeg *.tiff *.tif *.gif);;All files (*.*)</source>
        <translation>File immagine (*.png *.jpg *.bmp *.jpeg *.tiff *.tif *.gif);;Tutti i file (*.*)</translation>
    </message>
    <message>
        <source>No file selected</source>
        <translation>Nessun file selezionato</translation>
    </message>
    <message>
        <source>Failed to read image</source>
        <translation>Impossibile leggere l’immagine</translation>
    </message>
    <message>
        <source>Save Image</source>
        <translation>Salva immagine</translation>
    </message>
    <message>
        <source>JPG Files (*.jpg);;PNG Files (*.png)</source>
        <translation>File JPG (*.jpg);;File PNG (*.png)</translation>
    </message>
    <message>
        <source>Crayvell 2.0</source>
        <translation>Crayvell 2.0</translation>
    </message>
    <message>
        <source>Pencil sketches by Dellumbra software
https://www.dellumbra.example/</source>
        <translation>Schizzi a matita di Dellumbra software
https://www.dellumbra.example/</translation>
    </message>
    <message>
        <source>Progress</source>
        <translation>Avanzamento</translation>
    </message>
    <message>
        <source>No photo is open</source>
        <translation>Nessuna foto aperta</translation>
    </message>
    <message>
        <source>Photo %1, %2 by %3 pixels</source>
        <translation>Foto %1, %2 per %3 pixel</translation>
    </message>
    <message>
        <source>Sketch of %1, %2 by %3 pixels</source>
        <translation>Schizzo di %1, %2 per %3 pixel</translation>
    </message>
</context>
</TS>
