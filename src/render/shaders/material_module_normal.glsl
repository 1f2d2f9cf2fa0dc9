uniform sampler2D normalSampler;

// Tangent space: x along u, y along v, z outwards.
vec3 get_normal_texture() {
    if (material.normalChannel.amount == 0.0) return vec3(0.0, 0.0, 1.0);
    vec4 texel = texture(normalSampler, channel_coordinates(material.normalChannel));
    vec3 n = (material.normal.simple ? texel.rgb : texel.wyz) * 2.0 - 1.0;
    n.xy *= material.normalChannel.amount;
    n.z = sqrt(max(0.00001, 1.0 - dot(n.xy, n.xy)));
    if (material.normal.swapXY) n.xy = n.yx;
    n.xy *= material.normal.invert;
    return n;
}

// Whether the instance's matrix and the model's flips together mirror the mesh: -1, else 1.
float mirror_sign() { return modelProperties.flipNormal * (renderState.flipNormals ? -1.0 : 1.0); }

// Columns: along u, along v, outwards.
mat3 get_tbn_matrix(vec3 outward) {
    vec3 tangent = base.worldTangent.xyz;
    vec3 bitangent = safe_normalize(cross(outward, tangent) * base.worldTangent.w * mirror_sign());
    return mat3(tangent, bitangent, outward);
}

// World space, unit. With two-sided lighting it stands on the side that is seen; otherwise it points out of the model,
// or into it with inverted normals.
vec3 get_normal() {
    // The vertex stage has turned the normal of mirrored and inverted models.
    vec3 outward = safe_normalize(base.worldNormal) * modelProperties.normalInvert *
                   (renderState.flipNormals ? -1.0 : 1.0);
    // A mesh that came without normals has zeros: it is shaded by its faces.
    bool faceted = dot(outward, outward) == 0.0;
    if (faceted || material.flatShading > 0.0) {
        vec3 face = -cross(dFdx(base.worldPosition.xyz), dFdy(base.worldPosition.xyz));
        if (faceted) {
            float seen = gl_FrontFacing ? mirror_sign() : -mirror_sign();
            outward = safe_normalize(dot(face, eye_direction()) < 0.0 ? -face : face) * seen;
        } else if (dot(face, face) > 0.0) {
            face = normalize(face);
            // On the outer side too when the back or a mirrored picture is drawn.
            if (dot(face, outward) < 0.0) face = -face;
            outward = safe_normalize(mix(outward, face, material.flatShading));
        }
    }
    vec3 normal = safe_normalize(get_tbn_matrix(outward) * get_normal_texture());
    float side = gl_FrontFacing ? mirror_sign() : -mirror_sign();
    return normal * mix(modelProperties.normalInvert, side, material.twoSided);
}
