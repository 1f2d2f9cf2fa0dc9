// Functions that every program may use.

float mean_of(vec3 color) { return (color.r + color.g + color.b) / 3.0; }
float largest_of(vec3 color) { return max(color.r, max(color.g, color.b)); }

vec3 eye_direction() { return safe_normalize(eyePosition - base.worldPosition.xyz); }
float incidence(vec3 normal, vec3 eye) { return min(1.0, abs(dot(normal, eye))); }
float surface_opacity() { return material.opacity * modelColor.a; }
ivec2 frame_pixel() { return ivec2(gl_FragCoord.xy * viewportScale + viewportOffset); }

// Share of an effect at an incidence of 0 (grazing) to 1: grows towards the edge for a positive `amount`, towards the
// middle for a negative one.
float fresnel(float incident, float amount, float bias) {
    if (bias < 0.01) return 1.0;
    float inc = amount > 0.0 ? 1.0 - incident : incident;
    float size = abs(amount);
    return pow(max(0.0, inc), bias) * size + 1.0 - size;
}

vec3 contrast_saturation(vec3 color, float gamma, float contrast, float saturation, float brightness, vec2 levelInput,
                         vec2 levelOutput) {
    // Values above 1 keep their distance: a light source in a picture is not flattened by contrast.
    if (contrast > 0.0) {
        float halfWay = (contrast - 1.0) / 2.0;
        color = min(max(color, 1.0), max(vec3(0.0), color * contrast - halfWay));
    } else {
        color = color * (contrast + 1.0) - contrast / 2.0;
    }
    float lum = (largest_of(color) + min(color.r, min(color.g, color.b))) / 2.0;
    color = max(vec3(0.0), mix(vec3(lum), color, saturation)) * brightness;
    color = (color - levelInput.x) / max(0.01, levelInput.y - levelInput.x);
    color = max(vec3(0.0), levelOutput.x + color * (levelOutput.y - levelOutput.x));
    return pow(color, vec3(gamma));
}

vec2 channel_coordinates(Channel channel) {
    return base.texCoords * channel.uvRepeat + channel.uvOffset + modelUvOffset;
}

vec4 sample_texture_channel(sampler2D image, Channel channel, vec4 neutral) {
    if (channel.amount == 0.0) return neutral;
    vec4 texel = texture(image, channel_coordinates(channel));
    texel.rgb = contrast_saturation(texel.rgb, channel.gamma, channel.contrast, channel.saturation, channel.brightness,
                                    channel.levelInput, channel.levelOutput);
    texel.rgb = mix(texel.rgb, max(vec3(0.0), 1.0 - texel.rgb), channel.invert);
    return texel * channel.amount + (1.0 - channel.amount) * neutral;
}

// How a direction of the world meets an environment picture, here and in the derived cube maps: straight ahead (+z) is
// its middle, right is right of it, and the top row (v = 0) is up, which is -y.
vec2 environment_coordinates(vec3 direction) {
    float ground = length(direction.xz);
    float longitude = ground > 0.0 ? atan(direction.x, direction.z) : 0.0;
    return vec2(longitude / PI2, atan(direction.y, ground) / PI) + 0.5;
}

vec3 environment_direction(vec2 coordinates) {
    float longitude = (coordinates.x - 0.5) * PI2;
    float latitude = (coordinates.y - 0.5) * PI;
    return vec3(cos(latitude) * sin(longitude), sin(latitude), cos(latitude) * cos(longitude));
}

// Grading of a colour of the environment, the same for the picture and for its filtered cube.
vec3 grade_environment(vec3 color, Channel channel) {
    color = contrast_saturation(color, channel.gamma * render.environmentGamma, channel.contrast, channel.saturation,
                                channel.brightness * render.environmentExposure, channel.levelInput,
                                channel.levelOutput);
    color = mix(color, max(vec3(0.0), 1.0 - color), channel.invert);
    return color * channel.amount * render.environmentTint.rgb;
}

Channel environment_channel() {
    if (renderState.globalEnvironment) return render.environmentChannel;
    return material.environmentChannel;
}
