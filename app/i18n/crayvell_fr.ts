<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr" sourcelanguage="en_US">
<context>
    <name>HelpDialog</name>
    <message>
        <source>Help</source>
        <translation>Aide</translation>
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
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Chère cliente, cher client,&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Merci de l’intérêt que vous portez à&lt;/span&gt;&lt;span style=&quot; font-size:8pt; font-weight:600;&quot;&gt; Crayvell&lt;/span&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;. Nous espérons qu’il vous sera utile et qu’il vous aidera à réaliser de superbes croquis. L’interface est si simple que vous n’aurez sans doute besoin d’aucune aide.&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Les commandes «&#xa0;Ouvrir&#xa0;» et «&#xa0;Enregistrer&#xa0;» servent à ouvrir les photos et à enregistrer les croquis.&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;La commande «&#xa0;Créer le croquis&#xa0;» &lt;/span&gt;&lt;img src=&quot;:/icons/FormRunHS.png&quot; /&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt; transforme une photo en croquis. Les deux curseurs placés sous la barre d’outils rendent le croquis plus clair ou plus foncé.&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot;-qt-paragraph-type:empty; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px; font-size:8pt;&quot;&gt;&lt;br /&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:10pt;&quot;&gt;Autres sources d’information&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Vous serez toujours les bienvenus sur le site web de TarnSoftware&#xa0;: &lt;/span&gt;&lt;a href=&quot;%1&quot;&gt;&lt;span style=&quot; font-size:8pt; text-decoration: underline; color:#0000ff;&quot;&gt;%1&lt;/span&gt;&lt;/a&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;. Vous y trouverez de plus amples informations, notamment des tutoriels vidéo et des articles sur ce produit et sur nos autres logiciels.&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Nous proposons plusieurs outils de retouche photo qui simplifient les tâches les plus longues. Nous espérons que certains d’entre eux vous seront utiles pour le traitement de vos photos.&lt;/span&gt;&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</translation>
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
        <translation>Niveau de noir</translation>
    </message>
    <message>
        <source>white level</source>
        <translation>Niveau de blanc</translation>
    </message>
    <message>
        <source>Picture</source>
        <translation>Image</translation>
    </message>
    <message>
        <source>File</source>
        <translation>&amp;Fichier</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>&amp;Aide</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>&amp;Ouvrir</translation>
    </message>
    <message>
        <source>Ctrl+O</source>
        <translation>Ctrl+O</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>&amp;Enregistrer</translation>
    </message>
    <message>
        <source>Save As</source>
        <translation>Enregistrer sous</translation>
    </message>
    <message>
        <source>Ctrl+S</source>
        <translation>Ctrl+S</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>&amp;Quitter</translation>
    </message>
    <message>
        <source>Ctrl+Q</source>
        <translation>Ctrl+Q</translation>
    </message>
    <message>
        <source>Index</source>
        <translation>&amp;Sommaire</translation>
    </message>
    <message>
        <source>About</source>
        <translation>À &amp;propos de Crayvell</translation>
    </message>
    <message>
        <source>ZoomPlus</source>
        <translation>Zoom avant</translation>
    </message>
    <message>
        <source>Zoom In</source>
        <translation>Zoom avant</translation>
    </message>
    <message>
        <source>ZoomMinus</source>
        <translation>Zoom arrière</translation>
    </message>
    <message>
        <source>Zoom Out</source>
        <translation>Zoom arrière</translation>
    </message>
    <message>
        <source>Select</source>
        <translation>Sélectionner</translation>
    </message>
    <message>
        <source>Autodetect Wires</source>
        <translation>Détecter automatiquement les câbles</translation>
    </message>
    <message>
        <source>LocalSelect</source>
        <translation>Sélection locale</translation>
    </message>
    <message>
        <source>Process</source>
        <translation>Créer le croquis</translation>
    </message>
    <message>
        <source>Create sketch</source>
        <translation>Créer le croquis</translation>
    </message>
    <message>
        <source>SmartSelect</source>
        <translation>Sélection intelligente</translation>
    </message>
    <message>
        <source>Smart Select</source>
        <translation>Sélection intelligente</translation>
    </message>
    <message>
        <source>Home</source>
        <translation>Site web</translation>
    </message>
    <message>
        <source>Visit our homepage!
Visit our homepage now to get 
the lates versions of our digital photo 
software products(a new web browser 
will be opened)</source>
        <translation>Visitez notre site web&#xa0;!
Vous y trouverez les dernières versions
de nos logiciels de photo numérique
(une nouvelle fenêtre du navigateur s’ouvrira)</translation>
    </message>
    <message>
        <source>Open Image</source>
        <translation>Ouvrir une image</translation>
    </message>
    <message>
        <source>Image Files (*.png *.jpg *.bmp *.jpeg *.tiff *.tif *.gif);;All files (*.*)</source>
        <translation>Fichiers image (*.png *.jpg *.bmp *.jpeg *.tiff *.tif *.gif);;Tous les fichiers (*.*)</translation>
    </message>
    <message>
        <source>No file selected</source>
        <translation>Aucun fichier sélectionné</translation>
    </message>
    <message>
        <source>Failed to read image</source>
        <translation>Impossible de lire l’image</translation>
    </message>
    <message>
        <source>Save Image</source>
        <translation>Enregistrer l’image</translation>
    </message>
    <message>
        <source>JPG Files (*.jpg);;PNG Files (*.png)</source>
        <translation>Fichiers JPG (*.jpg);;Fichiers PNG (*.png)</translation>
    </message>
    <message>
        <source>Crayvell 2.0</source>
        <translation>Crayvell 2.0</translation>
    </message>
    <message>
        <source>Pencil sketches by Dellumbra software
https://www.dellumbra.example/</source>
        <translation>Croquis au crayon par Dellumbra software
https://www.dellumbra.example/</translation>
    </message>
    <message>
        <source>Progress</source>
        <translation>Progression</translation>
    </message>
    <message>
        <source>No photo is open</source>
        <translation>Aucune photo ouverte</translation>
    </message>
    <message>
        <source>Photo %1, %2 by %3 pixels</source>
        <translation>Photo %1, %2 sur %3 pixels</translation>
    </message>
    <message>
        <source>Sketch of %1, %2 by %3 pixels</source>
        <translation>Croquis de %1, %2 sur %3 pixels</translation>
    </message>
</context>
</TS>
