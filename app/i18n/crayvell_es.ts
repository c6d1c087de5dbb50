<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="es" sourcelanguage="en_US">
<context>
    <name>HelpDialog</name>
    <message>
        <source>Help</source>
        <translation>Ayuda</translation>
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
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Estimado cliente:&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Gracias por su interés en&lt;/span&gt;&lt;span style=&quot; font-size:8pt; font-weight:600;&quot;&gt; Crayvell&lt;/span&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;. Esperamos que le sea útil y le ayude a crear magníficos bocetos. La interfaz es tan sencilla que probablemente no necesitará ayuda.&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Use las órdenes «Abrir» y «Guardar» para abrir fotos y guardar bocetos.&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;La orden «Crear boceto» &lt;/span&gt;&lt;img src=&quot;:/icons/FormRunHS.png&quot; /&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt; convierte una foto en un boceto. Con los dos controles deslizantes situados bajo la barra de herramientas puede aclararlo u oscurecerlo.&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot;-qt-paragraph-type:empty; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px; font-size:8pt;&quot;&gt;&lt;br /&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:10pt;&quot;&gt;Otras fuentes de información&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Siempre será bienvenido en la página web de TarnSoftware, &lt;/span&gt;&lt;a href=&quot;%1&quot;&gt;&lt;span style=&quot; font-size:8pt; text-decoration: underline; color:#0000ff;&quot;&gt;%1&lt;/span&gt;&lt;/a&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;, donde encontrará más información, como videotutoriales y artículos sobre este y nuestros demás productos.&lt;/span&gt;&lt;/p&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;&lt;span style=&quot; font-size:8pt;&quot;&gt;Ofrecemos varias herramientas de edición fotográfica que simplifican las tareas de retoque más laboriosas, y esperamos que algunas le resulten útiles para procesar sus fotografías.&lt;/span&gt;&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>Aceptar</translation>
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
        <translation>Nivel de negro</translation>
    </message>
    <message>
        <source>white level</source>
        <translation>Nivel de blanco</translation>
    </message>
    <message>
        <source>Picture</source>
        <translation>Imagen</translation>
    </message>
    <message>
        <source>File</source>
        <translation>&amp;Archivo</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>A&amp;yuda</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>&amp;Abrir</translation>
    </message>
    <message>
        <source>Ctrl+O</source>
        <translation>Ctrl+O</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>&amp;Guardar</translation>
    </message>
    <message>
        <source>Save As</source>
        <translation>Guardar como</translation>
    </message>
    <message>
        <source>Ctrl+S</source>
        <translation>Ctrl+S</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>&amp;Salir</translation>
    </message>
    <message>
        <source>Ctrl+Q</source>
        <translation>Ctrl+Q</translation>
    </message>
    <message>
        <source>Index</source>
        <translation>&amp;Contenido</translation>
    </message>
    <message>
        <source>About</source>
        <translation>&amp;Acerca de Crayvell</translation>
    </message>
    <message>
        <source>ZoomPlus</source>
        <translation>Acercar</translation>
    </message>
    <message>
        <source>Zoom In</source>
        <translation>Acercar</translation>
    </message>
    <message>
        <source>ZoomMinus</source>
        <translation>Alejar</translation>
    </message>
    <message>
        <source>Zoom Out</source>
        <translation>Alejar</translation>
    </message>
    <message>
        <source>Select</source>
        <translation>Seleccionar</translation>
    </message>
    <message>
        <source>Autodetect Wires</source>
        <translation>Detectar cables automáticamente</translation>
    </message>
    <message>
        <source>LocalSelect</source>
        <translation>Selección local</translation>
    </message>
    <message>
        <source>Process</source>
        <translation>Crear boceto</translation>
    </message>
    <message>
        <source>Create sketch</source>
        <translation>Crear boceto</translation>
    </message>
    <message>
        <source>SmartSelect</source>
        <translation>Selección inteligente</translation>
    </message>
    <message>
        <source>Smart Select</source>
        <translation>Selección inteligente</translation>
    </message>
    <message>
        <source>Home</source>
        <translation>Página web</translation>
    </message>
    <message>
        <source>Visit our homepage!
Visit our homepage now to get 
the lates versions of our digital photo 
software products(a new web browser 
will be opened)</source>
        <translation>¡Visite nuestra página web!
En ella encontrará las últimas versiones
de nuestros programas de fotografía digital
(se abrirá una ventana nueva del navegador)</translation>
    </message>
    <message>
        <source>Open Image</source>
        <translation>Abrir imagen</translation>
    </message>
    <message>
        <source>Image Files (*.png *.jpg *.bmp *.jpeg *.tiff *.tif *.gif);;All files (*.*)</source>
        <translation>Archivos de imagen (*.png *.jpg *.bmp *.jpeg *.tiff *.tif *.gif);;Todos los archivos (*.*)</translation>
    </message>
    <message>
        <source>No file selected</source>
        <translation>No se ha seleccionado ningún archivo</translation>
    </message>
    <message>
        <source>Failed to read image</source>
        <translation>No se pudo leer la imagen</translation>
    </message>
    <message>
        <source>Save Image</source>
        <translation>Guardar imagen</translation>
    </message>
    <message>
        <source>JPG Files (*.jpg);;PNG Files (*.png)</source>
        <translation>Archivos JPG (*.jpg);;Archivos PNG (*.png)</translation>
    </message>
    <message>
        <source>Crayvell 2.0</source>
        <translation>Crayvell 2.0</translation>
    </message>
    <message>
        <source>Pencil sketches by Dellumbra software
https://www.dellumbra.example/</source>
        <translation>Bocetos a lápiz de Dellumbra software
https://www.dellumbra.example/</translation>
    </message>
    <message>
        <source>Progress</source>
        <translation>Progreso</translation>
    </message>
    <message>
        <source>No photo is open</source>
        <translation>No hay ninguna foto abierta</translation>
    </message>
    <message>
        <source>Photo %1, %2 by %3 pixels</source>
        <translation>Foto %1, %2 por %3 píxeles</translation>
    </message>
    <message>
        <source>Sketch of %1, %2 by %3 pixels</source>
        <translation>Boceto de %1, %2 por %3 píxeles</translation>
    </message>
</context>
</TS>
