// A beach in the late afternoon: sand, sea, a hut of planks, a parasol, a ball
// and a fence. Rendered by render.sh.

#version 3.7;

global_settings {
    assumed_gamma 1.0
    max_trace_level 6
}

camera {
    location <0.4, 1.75, -8.2>
    look_at <0.1, 1.35, 0>
    right x * 3 / 2
    angle 52
}

// A low, wide sun: its shadows have soft borders.
light_source {
    <-14, 11, -9>
    color rgb <1.35, 1.18, 0.92>
    area_light <2.2, 0, 0>, <0, 2.2, 0>, 5, 5
    adaptive 1
    jitter
    circular
    orient
}
light_source {
    <8, 14, -12>
    color rgb <0.22, 0.27, 0.38>
    shadowless
}

sky_sphere {
    pigment {
        gradient y
        color_map {
            [0.00 rgb <0.93, 0.84, 0.70>]
            [0.12 rgb <0.66, 0.76, 0.86>]
            [0.60 rgb <0.22, 0.42, 0.72>]
        }
    }
    pigment {
        bozo
        turbulence 0.75
        octaves 5
        omega 0.6
        scale <0.55, 0.13, 0.4>
        color_map {
            [0.45 rgbt <1, 1, 1, 1>]
            [0.75 rgbt <0.97, 0.93, 0.88, 0.25>]
            [1.00 rgbt <0.80, 0.80, 0.84, 0.10>]
        }
    }
}

// The sea, from the wet sand to the horizon.
plane {
    y, -0.12
    pigment { color rgb <0.06, 0.20, 0.27> }
    finish {
        ambient 0.06
        diffuse 0.5
        specular 0.5
        roughness 0.015
        reflection { 0.12, 0.6 fresnel on }
        conserve_energy
    }
    normal { ripples 0.35 frequency 1.5 turbulence 0.35 scale <1.6, 1, 0.45> translate x * 37 }
    interior { ior 1.33 }
}

// Dry sand, sloping down into the water.
plane {
    <0, 1, -0.045>, 0
    pigment {
        granite
        scale 0.35
        color_map {
            [0.0 rgb <0.72, 0.60, 0.43>]
            [0.5 rgb <0.84, 0.73, 0.55>]
            [1.0 rgb <0.92, 0.83, 0.67>]
        }
    }
    normal {
        average
        normal_map {
            [1.0 bumps 0.5 scale 0.03]
            [1.4 wrinkles 0.8 scale <0.9, 0.5, 0.35>]
        }
    }
    finish { ambient 0.08 diffuse 0.85 }
    clipped_by { plane { z, 3.1 } }
}

#declare Wood = texture {
    pigment {
        wood
        turbulence 0.06
        rotate x * 88
        scale <0.05, 0.35, 0.05>
        color_map {
            [0.0 rgb <0.40, 0.27, 0.17>]
            [0.6 rgb <0.55, 0.39, 0.25>]
            [1.0 rgb <0.29, 0.19, 0.12>]
        }
    }
    normal { granite 0.25 scale <0.05, 0.6, 0.05> }
    finish { ambient 0.07 diffuse 0.8 }
}

#declare Paint = texture {
    pigment {
        granite
        scale <0.12, 0.9, 0.12>
        color_map {
            [0.00 rgb <0.24, 0.47, 0.55>]
            [0.62 rgb <0.31, 0.56, 0.62>]
            [0.70 rgb <0.52, 0.42, 0.31>]
            [1.00 rgb <0.45, 0.34, 0.24>]
        }
    }
    finish { ambient 0.07 diffuse 0.8 }
}

// A hut of upright planks under a gabled roof.
#declare Hut = union {
    #declare I = 0;
    #while (I < 11)
        box {
            <I * 0.22 - 1.21, 0, -1>, <I * 0.22 - 1.005, 2.0 - abs(I - 5) * 0.002, -0.94>
            texture { Paint translate <I * 7.3, I * 3.1, 0> }
        }
        box {
            <1.15, 0, I * 0.18 - 1>, <1.21, 2.0, I * 0.18 - 0.83>
            texture { Paint translate <I * 5.7, I * 1.7, 3> }
        }
        #declare I = I + 1;
    #end
    box { <-1.18, 0, -0.93>, <1.14, 2.0, 0.97> pigment { rgb 0.05 } }
    prism {
        linear_sweep
        -0.99, 0.97, 4
        <-1.21, 2.0>, <1.21, 2.0>, <0, 3.05>, <-1.21, 2.0>
        rotate x * -90
        scale <1, 1, -1>
        texture { Paint translate 11 }
    }
    #declare I = 0;
    #while (I < 9)
        box {
            <-1.78, -0.02, -1.16>, <-1.58, 0.05, 1.14>
            translate <I * 0.2, 0, 0>
            texture { Wood rotate y * 90 translate <I * 3, 0, 0> }
            rotate z * 41
            translate y * 3.10
        }
        box {
            <1.78, -0.02, -1.16>, <1.58, 0.05, 1.14>
            translate <-I * 0.2, 0, 0>
            texture { Wood rotate y * 90 translate <I * 3, 5, 0> }
            rotate z * -41
            translate y * 3.10
        }
        #declare I = I + 1;
    #end
    // Door, its frame and a round window above it.
    box { <-0.42, 0, -1.05>, <0.42, 1.62, -0.99> texture { Wood } }
    box { <-0.34, 0.06, -1.07>, <0.34, 1.54, -1.04> pigment { rgb <0.85, 0.82, 0.74> } }
    sphere { <0.24, 0.8, -1.09>, 0.035 pigment { rgb <0.7, 0.55, 0.2> } finish { phong 0.8 } }
    torus { 0.2, 0.045 rotate x * 90 translate <0, 2.32, -1.02> texture { Wood } }
    cylinder {
        <0, 2.32, -1.01>, <0, 2.32, -0.98>, 0.19
        pigment { rgb <0.05, 0.07, 0.1> }
        finish { reflection 0.25 phong 1 }
    }
}

object { Hut rotate y * 24 translate <-2.25, -0.02, 0.9> }

// The parasol: eight stripes on a shallow dome.
union {
    difference {
        sphere { 0, 1.35 scale <1, 0.52, 1> }
        sphere { 0, 1.32 scale <1, 0.515, 1> }
        box { <-2, -2, -2>, <2, 0.13, 2> }
        pigment {
            radial
            frequency 8
            color_map {
                [0.5 rgb <0.86, 0.16, 0.12>]
                [0.5 rgb <0.96, 0.93, 0.85>]
            }
        }
        finish { ambient 0.12 diffuse 0.75 }
        translate y * 1.75
    }
    cylinder { <0, -0.3, 0>, <0, 2.52, 0>, 0.028 pigment { rgb 0.9 } finish { phong 0.5 } }
    sphere { <0, 2.5, 0>, 0.06 pigment { rgb <0.86, 0.16, 0.12> } }
    rotate z * -11
    translate <1.75, 0.02, -0.6>
}

// The ball, in six colours.
sphere {
    0, 0.34
    pigment {
        radial
        frequency 3
        color_map {
            [0.33 rgb <0.95, 0.80, 0.15>]
            [0.33 rgb <0.93, 0.92, 0.90>]
            [0.66 rgb <0.93, 0.92, 0.90>]
            [0.66 rgb <0.12, 0.38, 0.70>]
        }
        rotate <38, 15, 24>
    }
    finish { ambient 0.07 diffuse 0.75 phong 0.7 phong_size 60 }
    translate <0.28, 0.22, -2.5>
}

// A towel, and a fence that leads to the water.
box {
    <0, 0, 0>, <1.5, 0.02, 0.8>
    pigment {
        gradient x
        scale 0.3
        color_map {
            [0.5 rgb <0.18, 0.42, 0.52>]
            [0.5 rgb <0.92, 0.88, 0.78>]
        }
    }
    normal { bumps 0.7 scale 0.02 }
    rotate <-2.5, -14, 0>
    translate <1.0, -0.09, -2.1>
}

#declare R = seed(7);
#declare I = 0;
#while (I < 9)
    cylinder {
        <0, -0.4, 0>, <0, 0.62 + rand(R) * 0.2, 0>, 0.055
        texture { Wood rotate x * 90 translate <I * 3, I, 0> }
        rotate <rand(R) * 10 - 5, 0, rand(R) * 12 - 6>
        translate <3.9 - I * 0.16, 0, -2.6 + I * 0.72>
    }
    #declare I = I + 1;
#end

// Pebbles in the foreground.
#declare I = 0;
#while (I < 70)
    sphere {
        0, 1
        scale <0.05 + rand(R) * 0.05, 0.025 + rand(R) * 0.02, 0.04 + rand(R) * 0.04>
        rotate y * rand(R) * 360
        translate <rand(R) * 7 - 3.5, -0.17 + rand(R) * 0.02, -5.2 + rand(R) * 2.6>
        pigment { rgb <0.35, 0.33, 0.31> + rand(R) * 0.35 }
        normal { granite 0.2 scale 0.1 }
    }
    #declare I = I + 1;
#end
